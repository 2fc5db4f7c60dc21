// SPDX-License-Identifier: MIT
//
// The slim lock is one 32-bit word; who must wait sleeps in the kernel on that word. A shared request goes in when no
// writer holds the lock and none waits. One that slept and was woken by a leaving writer goes in before the next
// writer, so that neither side shuts the other out.
#include <winbase.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
using Word = std::atomic_ref<ULONG>;

constexpr ULONG g_writer = 0x80000000;        // held exclusively
constexpr ULONG g_readersSleep = 0x40000000;  // shared requests sleep
constexpr ULONG g_waitingWriter = 0x00010000; // one exclusive request that waits
constexpr ULONG g_waitingWriters = 0x3FFF0000;
constexpr ULONG g_readers = 0x0000FFFF; // shared holders

constexpr ULONG g_wakeReaders = 1;
constexpr ULONG g_wakeWriters = 2;

/// Sleeps while the word has the value. True when another thread woke this one.
bool SleepWhile(SRWLOCK* lock, ULONG value, ULONG who) {
    return syscall(SYS_futex, &lock->lxState, FUTEX_WAIT_BITSET_PRIVATE, value, nullptr, nullptr, who) == 0;
}

// The lock may be gone already when this is called: its address is not read here, and a wake-up without a sleeper
// does nothing.
void Wake(SRWLOCK* lock, int count, ULONG who) {
    syscall(SYS_futex, &lock->lxState, FUTEX_WAKE_BITSET_PRIVATE, count, nullptr, nullptr, who);
}

bool TryShared(Word word, ULONG& seen, ULONG obstacles) {
    while ((seen & obstacles) == 0) {
        if (word.compare_exchange_weak(seen, seen + 1)) { return true; }
    }
    return false;
}
} // namespace

void AcquireSRWLockExclusive(SRWLOCK* lock) {
    if (TryAcquireSRWLockExclusive(lock)) { return; }
    const Word word(lock->lxState);
    ULONG seen = word.fetch_add(g_waitingWriter) + g_waitingWriter;
    for (;;) {
        if ((seen & (g_writer | g_readers)) != 0) {
            SleepWhile(lock, seen, g_wakeWriters);
            seen = word.load();
        } else if (word.compare_exchange_weak(seen, (seen - g_waitingWriter) | g_writer)) {
            return;
        }
    }
}

void AcquireSRWLockShared(SRWLOCK* lock) {
    const Word word(lock->lxState);
    ULONG obstacles = g_writer | g_waitingWriters;
    ULONG seen = word.load();
    while (!TryShared(word, seen, obstacles)) {
        if ((seen & g_readersSleep) != 0 || word.compare_exchange_weak(seen, seen | g_readersSleep)) {
            if (SleepWhile(lock, seen | g_readersSleep, g_wakeReaders)) { obstacles = g_writer; }
            seen = word.load();
        }
    }
}

BOOLEAN TryAcquireSRWLockExclusive(SRWLOCK* lock) {
    const Word word(lock->lxState);
    ULONG seen = word.load();
    while ((seen & (g_writer | g_readers | g_waitingWriters)) == 0) {
        if (word.compare_exchange_weak(seen, seen | g_writer)) { return TRUE; }
    }
    return FALSE;
}

BOOLEAN TryAcquireSRWLockShared(SRWLOCK* lock) {
    const Word word(lock->lxState);
    ULONG seen = word.load();
    return TryShared(word, seen, g_writer | g_waitingWriters) ? TRUE : FALSE;
}

void ReleaseSRWLockExclusive(SRWLOCK* lock) {
    const ULONG before = Word(lock->lxState).fetch_and(~(g_writer | g_readersSleep));
    if ((before & g_readersSleep) != 0) { Wake(lock, INT_MAX, g_wakeReaders); }
    if ((before & g_waitingWriters) != 0) { Wake(lock, 1, g_wakeWriters); }
}

void ReleaseSRWLockShared(SRWLOCK* lock) {
    const ULONG before = Word(lock->lxState).fetch_sub(1);
    if ((before & g_readers) == 1 && (before & g_waitingWriters) != 0) { Wake(lock, 1, g_wakeWriters); }
}
