// SPDX-License-Identifier: MIT
//
// Watches what a thread allocates with operator new, and makes an allocation fail on demand.
#ifndef ALLOCATIONS_H
#define ALLOCATIONS_H

#include <cstddef>

class XAllocationWatch {
public:
    /// @param failing  the number of the allocation that fails, counted from 1; 0 for none
    explicit XAllocationWatch(std::size_t failing = 0);
    ~XAllocationWatch();
    XAllocationWatch(const XAllocationWatch&) = delete;
    XAllocationWatch& operator=(const XAllocationWatch&) = delete;

    /// Whether the thread's allocations count now; at first they do.
    static void Heed(bool heed);
    /// A question that is asked before each allocation; true leaves it alone.
    static void ExceptWhile(bool (*exempt)());
    /// Counts an allocation that is not made with operator new; false when it is the one to fail.
    static bool Allow(std::size_t size = 0);

    std::size_t Count() const;
    std::size_t Bytes() const; ///< in all, freed or not
};

#endif
