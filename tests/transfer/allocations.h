// SPDX-License-Identifier: MIT
//
// Counts a thread's allocations with operator new, and makes an allocation fail on demand.
#ifndef ALLOCATIONS_H
#define ALLOCATIONS_H

#include <cstddef>

class XAllocationWatch {
public:
    /// @param failing  the number of the allocation that fails, from 1; 0: none
    explicit XAllocationWatch(std::size_t failing = 0);
    ~XAllocationWatch();
    XAllocationWatch(const XAllocationWatch&) = delete;
    XAllocationWatch& operator=(const XAllocationWatch&) = delete;

    /// Sets whether the thread's allocations count; initially they do.
    static void Heed(bool heed);
    /// Sets a function that is called before each allocation; if it returns true, the allocation does not count.
    static void ExceptWhile(bool (*exempt)());
    /// Counts an allocation that is not made with operator new; false if it must fail.
    static bool Allow(std::size_t size = 0);

    std::size_t Count() const;
    std::size_t Bytes() const; ///< in total, including freed ones
};

#endif
