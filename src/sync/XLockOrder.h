// SPDX-License-Identifier: MIT
//
// The order in which locks are taken, from the outside in. Debug builds keep the levels that each thread
// holds and assert that every lock taken lies further in than all that are held; release builds compile this
// away.
#ifndef XLOCKORDER_H
#define XLOCKORDER_H

/// Every lock of the component. Those down to ObjectFill are held across calls to the server and never taken
/// by notifications. Nothing foreign is called under any lock below that line.
enum class XLockLevel : unsigned char
{
    Init,           ///< one initialisation or termination at a time
    TypeMapFill,    ///< who fills the type map
    BrowserIdFill,  ///< who fills the browser ids
    PCInfoFill,     ///< who fills the PC infos
    RelationFill,   ///< who loads the relations
    PlanTypeFill,   ///< who loads the plan types
    GlobalSpecFill, ///< who loads the global format specs
    TypeFetch,      ///< one type's fetches and completions; derived before base
    ObjectFill,     ///< one object's attribute types or PC infos
    // ---- nothing foreign is called below this line
    TypeMap,       ///< the types by name
    BrowserIds,    ///< the browser ids by name
    Inheritance,   ///< the type inheritance information
    PCInfos,       ///< the PC infos by browser
    PCInfosNew,    ///< the PC infos of new relations by browser
    Relations,     ///< the relations by their three names
    PlanTypes,     ///< the plan types
    ComponentMap,  ///< a type's pages, groups, attributes or editors
    ObjectMap,     ///< an object's formats, attribute types or PC infos
    GlobalSpecs,   ///< the global format specs
    PropertyStore, ///< the values of one object
    Leaf           ///< guards a few words; nothing is locked under it but another leaf
};

class XLockOrder
{
public:
    static constexpr XLockLevel LastFillLevel = XLockLevel::ObjectFill;

#ifdef NDEBUG
    static void Push(XLockLevel, const void*) noexcept {}
    static void Pop(XLockLevel, const void*) noexcept {}
    static void AssertNoneHeld() noexcept {}
#else
    /// The calling thread is about to take a lock.
    static void Push(XLockLevel level, const void* lock) noexcept;
    /// The calling thread has given a lock back.
    static void Pop(XLockLevel level, const void* lock) noexcept;
    /// The calling thread is about to call something foreign.
    static void AssertNoneHeld() noexcept;
#endif
};

#endif
