// SPDX-License-Identifier: MIT
//
// The lock order, outermost first. Debug builds record the locks that each thread holds and assert that every new lock
// is further in. Release builds compile this away.
#ifndef XLOCKORDER_H
#define XLOCKORDER_H

/// The ranks of the locks that the check covers. Fill mutexes are held across calls to the server; notifications never
/// take them. No foreign code is called while any lock below the line is held.
enum class XLockLevel : unsigned char {
    Fill, ///< serialises loading something from the server, initialisation and termination; see XFill.h
    // ---- no foreign calls below this line
    TypeEntry,     ///< one bulk answer at a time updates the type map
    TypeMap,       ///< the types by name
    BrowserIds,    ///< the browser ids by name
    Inheritance,   ///< the type inheritance information
    PCInfos,       ///< the PC infos by browser
    PCInfosNew,    ///< the PC infos of new relations by browser
    Relations,     ///< the relations by their three names
    PlanTypes,     ///< the plan types
    ComponentMap,  ///< a type's pages, groups, attributes or editors
    GlobalSpecs,   ///< the global format specs
    PropertyStore, ///< the values of one object
    Leaf           ///< guards a few words; only another leaf may be locked under it
};

/// A lock's position in the lock order; empty in release builds.
class XLockPlace {
public:
#ifdef NDEBUG
    explicit XLockPlace(XLockLevel) noexcept {}
    void Enter(const void*) const noexcept {}
    void Leave(const void*) const noexcept {}
    static void AssertNoneHeld() noexcept {}
#else
    explicit XLockPlace(XLockLevel level) noexcept : m_level(level) {}
    /// Call when the thread is about to acquire the lock.
    void Enter(const void* lock) const noexcept;
    /// Call when the thread has released the lock. A lock that was not recorded is ignored.
    void Leave(const void* lock) const noexcept;
    /// Call before calling foreign code.
    static void AssertNoneHeld() noexcept;

private:
    const XLockLevel m_level;
#endif
};

#endif
