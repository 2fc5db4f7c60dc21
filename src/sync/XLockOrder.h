// SPDX-License-Identifier: MIT
//
// The order in which locks are taken, from the outside in. Debug builds keep the levels that each thread holds and
// assert that every lock taken lies further in than all that are held; release builds compile this away.
#ifndef XLOCKORDER_H
#define XLOCKORDER_H

/// Every lock of the component. Fill mutexes are held across calls to the server and never taken by notifications.
/// Nothing foreign is called under any lock below that line.
enum class XLockLevel : unsigned char {
    Fill, ///< who asks the server for something, or initialises or terminates; see XFill.h
    // ---- nothing foreign is called below this line
    TypeEntry,     ///< one bulk answer enters the type map at a time
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
    Leaf           ///< guards a few words; nothing is locked under it but another leaf
};

/// A lock's place in the lock order; of no size in release builds.
class XLockPlace {
public:
#ifdef NDEBUG
    explicit XLockPlace(XLockLevel) noexcept {}
    void Enter(const void*) const noexcept {}
    void Leave(const void*) const noexcept {}
    static void AssertNoneHeld() noexcept {}
#else
    explicit XLockPlace(XLockLevel level) noexcept : m_level(level) {}
    /// The calling thread is about to take the lock.
    void Enter(const void* lock) const noexcept;
    /// The calling thread has given the lock back. One that it did not enter is let pass.
    void Leave(const void* lock) const noexcept;
    /// The calling thread is about to call something foreign.
    static void AssertNoneHeld() noexcept;

private:
    const XLockLevel m_level;
#endif
};

#endif
