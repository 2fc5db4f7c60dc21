// SPDX-License-Identifier: MIT
//
// All interleavings of lock-free readers and writers: no thread reads during a write, and no thread is blocked forever.
#include "XLFCritSectionDelegator.h"
#include "explore.h"

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
        isWritten = true;
    }
    void Write() {
        Write([] { Explorer::Step("write"); });
    }

    int readers = 0;
    int writers = 0;
    bool isWritten = false;
    unsigned slotReads = 0; ///< reads that did not take the lock
};

template <class Policy> struct World {
    Datum<Policy> data{XLockLevel::Relations};
    Datum<Policy> other{XLockLevel::PropertyStore};
};

using System = World<ExploringSync>;
template <class Policy = ExploringSync> void ReadData(World<Policy>& world) { world.data.Read(); }
template <class Policy = ExploringSync> void WriteData(World<Policy>& world) { world.data.Write(); }

TEST(ExploredLockFreeRead, AReaderAndAWriter) {
    unsigned bySlot = 0;
    const auto read = [](System& w) {
        const bool isAfterWrite = w.data.isWritten;
        w.data.Read();
        Explorer::Expect(!isAfterWrite || w.data.slotReads == 1, "a read after a write took the lock");
    };
    const auto schedules = ExpectExplored<System>(Explorer::Unbounded, 100, {read, WriteData<>},
                                                  [&](System& w) { bySlot += w.data.slotReads; });
    EXPECT_GT(bySlot, 0u);
    EXPECT_LT(bySlot, schedules); // some readers had to take the lock
}

TEST(ExploredLockFreeRead, SeveralReadersAndWriters) {
    // The second read finds the bit that the first one set, if no writer came in between.
    const auto readTwice = [](System& w) {
        w.data.Read();
        w.data.Read();
    };
    const auto writeTwice = [](System& w) {
        w.data.Write();
        w.data.Write();
    };
    ExpectExplored<System>(4, 100, {readTwice, writeTwice});
    ExpectExplored<System>(3, 100, {ReadData<>, ReadData<>, WriteData<>});
    ExpectExplored<System>(3, 100, {ReadData<>, WriteData<>, WriteData<>});
}

/// Gives all threads the same slot.
struct SharedSlotSync : ExploringSync {
    static unsigned ThreadIndex() noexcept { return 0; }
};

// Two reads fit in the slot and its neighbour, where a writer finds them; a third takes the lock.
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
    ExpectExplored<Shared>(3, 100, {nested, beside, WriteData<SharedSlotSync>});
    ExpectExplored<Shared>(2, 100, {nested, WriteData<SharedSlotSync>, [](Shared& w) { w.other.Write(); }});
    EXPECT_GT(together, 0u);
    EXPECT_GT(noRoom, 0u);
}

// The end of the inner write does not admit readers, and the writer's own reads take the lock.
TEST(ExploredLockFreeRead, NestedWritesAndReadsInsideThem) {
    bool ownReadBySlot = false;
    const auto nested = [&](System& w) {
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
    ExpectExplored<System>(2, 100, {nested, ReadData<>, ReadData<>});
    EXPECT_FALSE(ownReadBySlot);
}
} // namespace
