// SPDX-License-Identifier: MIT
//
// The slim lock is one 32-bit word; waiting threads sleep on it with a futex. A shared request succeeds when no writer
// holds the lock and none waits. A shared request that a writer's release has woken no longer yields to waiting
// writers, so neither side starves the other.
#include <winbase.h>
#include <winerror.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
using Word = std::atomic_ref<ULONG>;

constexpr ULONG g_writer = 0x80000000;        // held exclusively
constexpr ULONG g_readersSleep = 0x40000000;  // shared requests are sleeping
constexpr ULONG g_waitingWriter = 0x00010000; // one waiting exclusive request
constexpr ULONG g_waitingWriters = 0x3FFF0000;
constexpr ULONG g_readers = 0x0000FFFF; // number of shared holders

constexpr ULONG g_wakeReaders = 1;
constexpr ULONG g_wakeWriters = 2;

/// Sleeps while the word has this value. Returns true when another thread woke this one.
bool SleepWhile(SRWLOCK* lock, ULONG value, ULONG who) {
    return syscall(SYS_futex, &lock->lxState, FUTEX_WAIT_BITSET_PRIVATE, value, nullptr, nullptr, who) == 0;
}

// The lock may already have been freed when this is called. Its memory is not accessed here, and a wake-up without a
// sleeper has no effect.
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

// A wake-up between the release of the lock and the sleep changes the word, so the sleep ends at once.
BOOL SleepConditionVariableSRW(CONDITION_VARIABLE* condition, SRWLOCK* lock, DWORD milliseconds, ULONG flags) {
    if (milliseconds != INFINITE || flags != 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const ULONG seen = Word(condition->lxWakes).load();
    ReleaseSRWLockExclusive(lock);
    syscall(SYS_futex, &condition->lxWakes, FUTEX_WAIT_PRIVATE, seen, nullptr, nullptr, 0);
    AcquireSRWLockExclusive(lock);
    return TRUE;
}

void WakeConditionVariable(CONDITION_VARIABLE* condition) {
    Word(condition->lxWakes).fetch_add(1);
    syscall(SYS_futex, &condition->lxWakes, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}
