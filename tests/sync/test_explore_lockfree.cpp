// SPDX-License-Identifier: MIT
//
// All interleavings of lock-free readers and writers: nobody reads during a write, and everybody gets through.
#include "XLFCritSectionDelegator.h"
#include "explore.h"

#include <gtest/gtest.h>

namespace {
template <class Policy>
using Delegator = XLFCritSectionDelegator<XBasicRefCountCritSection<ExploringSync::SharedMutex>, Policy>;

/// Data with this lock. Each use is a step between two checks for other users.
template <class Policy> struct Datum : Delegator<Policy> {
    using Base = Delegator<Policy>;
    explicit Datum(XLockLevel level = XLockLevel::Relations) : Base(level) {}

    template <class F> void Read(F inside) {
        auto* const slot = this->LockLFRead();
        slotReads += slot != nullptr;
        ++readers;
        Explorer::Expect(writers == 0, "read while another thread writes");
        inside();
        Explorer::Expect(writers == 0, "written while another thread reads");
        --readers;
        this->UnlockLFRead(slot);
    }
    void Read() {
        Read([] { Explorer::Step("read"); });
    }
    template <class F> void Write(F inside) {
        this->LockWrite();
        ++writers;
        Explorer::Expect(readers == 0 && writers == 1, "written while another thread uses it");
        inside();
        Explorer::Expect(readers == 0 && writers == 1, "used while another thread writes");
        --writers;
        this->UnlockWrite();
    }
    void Write() {
        Write([] { Explorer::Step("write"); });
    }

    int readers = 0;
    int writers = 0;
    unsigned slotReads = 0; ///< reads that did not take the lock
};

template <class Policy> struct World {
    Datum<Policy> data{XLockLevel::Relations};
    Datum<Policy> other{XLockLevel::PropertyStore};
};

#ifdef _WIN32
constexpr unsigned Fewer = 1; // switching threads is several times slower there; the code is the same
#else
constexpr unsigned Fewer = 0;
#endif

template <class Policy = ExploringSync>
Explorer::Result Explore(unsigned preemptions, const std::vector<std::function<void(World<Policy>&)>>& bodies,
                         const std::type_identity_t<std::function<void(World<Policy>&)>>& check = {}) {
    const unsigned bound = preemptions == Explorer::Unbounded ? preemptions : preemptions - Fewer;
    return Explorer({.preemptions = bound}).Run([] { return World<Policy>(); }, bodies, check);
}

void ExpectExplored(const Explorer::Result& result, std::uint64_t least) {
    EXPECT_EQ("", result.failure) << result;
    EXPECT_TRUE(result.complete);
    EXPECT_GE(result.schedules, least);
}

template <class Policy = ExploringSync> void ReadData(World<Policy>& world) { world.data.Read(); }
/// The second read finds the bit that the first one set, if no writer came in between.
template <class Policy = ExploringSync> void ReadDataTwice(World<Policy>& world) {
    world.data.Read();
    world.data.Read();
}
template <class Policy = ExploringSync> void ReadOther(World<Policy>& world) { world.other.Read(); }
template <class Policy = ExploringSync> void WriteData(World<Policy>& world) { world.data.Write(); }

TEST(ExploredLockFreeRead, AReaderAndAWriter) {
    unsigned bySlot = 0;
    const auto result = Explore(Explorer::Unbounded, {ReadData<>, WriteData<>},
                                [&](World<ExploringSync>& w) { bySlot += w.data.slotReads; });
    ExpectExplored(result, 100u);
    EXPECT_GT(bySlot, 0u);
    EXPECT_LT(bySlot, result.schedules); // some readers had to take the lock
}

TEST(ExploredLockFreeRead, RepeatedReadsAndWrites) {
    const auto writeTwice = [](World<ExploringSync>& w) {
        w.data.Write();
        w.data.Write();
    };
    ExpectExplored(Explore(4, {ReadDataTwice<>, writeTwice}), 100u);
}

TEST(ExploredLockFreeRead, TwoReadersAndAWriter) {
    ExpectExplored(Explore(3, {ReadData<>, ReadData<>, WriteData<>}), 100u);
}

TEST(ExploredLockFreeRead, AReaderAndTwoWriters) {
    ExpectExplored(Explore(3, {ReadData<>, WriteData<>, WriteData<>}), 100u);
}

TEST(ExploredLockFreeRead, ANestedReadOfAnotherLockTakesTheNeighbourSlot) {
    unsigned bothBySlot = 0;
    const auto nested = [](World<ExploringSync>& w) { w.data.Read([&] { w.other.Read(); }); };
    const auto writeOther = [](World<ExploringSync>& w) { w.other.Write(); };
    const auto result = Explore(2, {nested, WriteData<>, writeOther}, [&](World<ExploringSync>& w) {
        bothBySlot += w.data.slotReads + w.other.slotReads == 2;
    });
    ExpectExplored(result, 100u);
    EXPECT_GT(bothBySlot, 0u);
}

/// Gives all threads the same slot.
struct SharedSlotSync : ExploringSync {
    static unsigned ThreadIndex() noexcept { return 0; }
};

// Two reads fit in the slot and its neighbour; a third takes the lock.
TEST(ExploredLockFreeRead, ThreadsThatShareASlot) {
    using Shared = World<SharedSlotSync>;
    unsigned together = 0;
    unsigned noRoom = 0;
    const auto nested = [](Shared& w) { w.data.Read([&] { w.other.Read(); }); };
    const auto beside = [&](Shared& w) {
        w.data.Read([&] {
            Explorer::Step("read");
            together += w.data.readers == 2 && w.data.slotReads == 2;
            noRoom += w.data.readers == 2 && w.data.slotReads == 1 && w.other.readers == 1;
        });
    };
    const auto result = Explore<SharedSlotSync>(3, {nested, beside, WriteData<SharedSlotSync>});
    ExpectExplored(result, 100u);
    EXPECT_GT(together, 0u);
    EXPECT_GT(noRoom, 0u);
}

// The end of the inner write does not admit readers, and the writer's own reads take the lock.
TEST(ExploredLockFreeRead, NestedWritesAndReadsInsideThem) {
    bool ownReadBySlot = false;
    const auto nested = [&](World<ExploringSync>& w) {
        w.data.Write([&] {
            w.data.LockWrite();
            Explorer::Step("write");
            auto* const slot = w.data.LockLFRead();
            ownReadBySlot = ownReadBySlot || slot != nullptr;
            w.data.UnlockLFRead(slot);
            w.data.UnlockWrite();
            Explorer::Step("write");
        });
    };
    ExpectExplored(Explore(2, {nested, ReadData<>, ReadData<>}), 100u);
    EXPECT_FALSE(ownReadBySlot);
}

enum class Fault {
    LateSlot,  ///< the word is read before the slot is published
    NoBit,     ///< a reader does not set the bit
    NoCount,   ///< writers are not counted
    NoneLeaves ///< a reader never leaves its slot
};

template <Fault fault> struct FaultySync : ExploringSync {
    template <class T> class Atomic : public ExploringSync::Atomic<T> {
        using Base = ExploringSync::Atomic<T>;
        static constexpr bool IsSlot = std::is_pointer_v<T>;

    public:
        using Base::Base;

        T load(std::memory_order = std::memory_order_seq_cst) const noexcept {
            const T value = Base::load();
            if constexpr (fault == Fault::LateSlot && !IsSlot) {
                if (void*& late = ThreadPointer(); late != nullptr) {
                    static_cast<ExploringSync::Atomic<const void*>*>(late)->store(this);
                    late = nullptr;
                }
            }
            return value;
        }
        void store(T value, std::memory_order = std::memory_order_seq_cst) noexcept {
            if constexpr (fault != Fault::NoneLeaves) { Base::store(value); }
        }
        bool compare_exchange_strong(T& expected, T desired) noexcept {
            if constexpr (fault == Fault::LateSlot) {
                ThreadPointer() = this;
                return Base::load() == expected;
            }
            return Base::compare_exchange_strong(expected, desired);
        }
        T fetch_or(T bits) noexcept { return fault == Fault::NoBit ? Base::load() : Base::fetch_or(bits); }
        T fetch_add(T by) noexcept { return fault == Fault::NoCount ? Base::load() : Base::fetch_add(by); }
        T fetch_sub(T by, std::memory_order = std::memory_order_seq_cst) noexcept {
            return fault == Fault::NoCount ? Base::load() : Base::fetch_sub(by);
        }
    };
};

/// The failure that a fault causes in a case that is correct without it. Replaying the schedule must reproduce it.
template <Fault fault> std::string Found() {
    using Faulty = FaultySync<fault>;
    const auto run = [](Explorer explorer) {
        return explorer.Run([] { return World<Faulty>(); }, {ReadDataTwice<Faulty>, WriteData<Faulty>});
    };
    const auto result = run(Explorer({}));
    if (fault != Fault::NoneLeaves) // the slot would still be taken in the replay
    {
        const auto again = run(Explorer({.replay = result.schedule}));
        EXPECT_EQ(result.failure, again.failure) << again;
        EXPECT_EQ(result.steps, again.steps);
    }
    return result.failure;
}

TEST(ExploredLockFreeRead, FaultsAreFound) {
    constexpr const char* Beside = " while another thread ";
    EXPECT_NE(std::string::npos, Found<Fault::LateSlot>().find(Beside));
    EXPECT_NE(std::string::npos, Found<Fault::NoBit>().find(Beside));
    EXPECT_NE(std::string::npos, Found<Fault::NoCount>().find(Beside));
    EXPECT_EQ("deadlock: nobody can go on", Found<Fault::NoneLeaves>());
}
} // namespace
