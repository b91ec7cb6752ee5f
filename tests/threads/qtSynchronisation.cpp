// Makes the synchronisation in QtCore visible to ThreadSanitizer. The QtCore of a distribution is
// not instrumented, so the sanitizer sees neither that a QReadWriteLock is held nor that a QThread
// has been waited for, and reports races in correct programs. The functions here override QtCore's,
// call them and tell the sanitizer. This file itself is not instrumented.

#include "hiddenFunction.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QMutex>
#include <QtCore/QReadWriteLock>
#include <QtCore/QThread>
#include <QtCore/QWaitCondition>

#include <sanitizer/tsan_interface.h>

#include <algorithm>
#include <vector>

// The last thing that an ending thread does inside QtCore is to wake the threads that wait for it.
// The sanitizer sees the condition used and destroyed, but not the mutex in between.
extern "C" const char* __tsan_default_suppressions(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __tsan_default_suppressions()
{
    return "race:QWaitCondition::~QWaitCondition\n";
}

namespace
{

// Otherwise a thread would use GLib's event dispatcher, whose locks are not made visible.
const bool withoutGlib = qputenv("QT_NO_GLIB", "1");

/// The locks that this thread holds for writing: unlock() is not told whether it was for writing.
thread_local std::vector<const QReadWriteLock*> heldForWriting;

/// Calls \a lock, which returns whether it has locked \a object.
template <typename Lock>
bool announceLock(void* object, unsigned flags, Lock lock)
{
    __tsan_mutex_pre_lock(object, flags);
    const bool locked = lock();
    __tsan_mutex_post_lock(object, locked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return locked;
}

template <typename Unlock>
void announceUnlock(void* object, unsigned flags, Unlock unlock)
{
    __tsan_mutex_pre_unlock(object, flags);
    unlock();
    __tsan_mutex_post_unlock(object, flags);
}

template <typename Lock>
bool announceWriteLock(QReadWriteLock* object, unsigned flags, Lock lock)
{
    const bool locked = announceLock(object, flags, lock);
    if (locked)
        heldForWriting.push_back(object);
    return locked;
}

/// Calls \a wait, which releases \a mutex and locks it again.
template <typename Wait>
bool announceWait(QMutex* mutex, Wait wait)
{
    __tsan_mutex_pre_unlock(mutex, 0);
    __tsan_mutex_post_unlock(mutex, 0);
    const bool woken = wait();
    __tsan_mutex_pre_lock(mutex, 0);
    __tsan_mutex_post_lock(mutex, 0, 0);
    return woken;
}

constexpr unsigned tryRead = __tsan_mutex_read_lock | __tsan_mutex_try_lock;
constexpr unsigned tryWrite = __tsan_mutex_try_lock;

} // namespace

QReadWriteLock::~QReadWriteLock()
{
    __tsan_mutex_destroy(this, 0);
    static const auto hidden = hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLockD1Ev");
    hidden(this);
}

void QReadWriteLock::lockForRead()
{
    static const auto hidden =
        hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock11lockForReadEv");
    announceLock(this, __tsan_mutex_read_lock, [this] { return hidden(this), true; });
}

bool QReadWriteLock::tryLockForRead()
{
    static const auto hidden =
        hiddenFunction<bool(QReadWriteLock*)>("_ZN14QReadWriteLock14tryLockForReadEv");
    return announceLock(this, tryRead, [this] { return hidden(this); });
}

bool QReadWriteLock::tryLockForRead(int timeout)
{
    static const auto hidden =
        hiddenFunction<bool(QReadWriteLock*, int)>("_ZN14QReadWriteLock14tryLockForReadEi");
    return announceLock(this, tryRead, [this, timeout] { return hidden(this, timeout); });
}

void QReadWriteLock::lockForWrite()
{
    static const auto hidden =
        hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock12lockForWriteEv");
    announceWriteLock(this, 0, [this] { return hidden(this), true; });
}

bool QReadWriteLock::tryLockForWrite()
{
    static const auto hidden =
        hiddenFunction<bool(QReadWriteLock*)>("_ZN14QReadWriteLock15tryLockForWriteEv");
    return announceWriteLock(this, tryWrite, [this] { return hidden(this); });
}

bool QReadWriteLock::tryLockForWrite(int timeout)
{
    static const auto hidden =
        hiddenFunction<bool(QReadWriteLock*, int)>("_ZN14QReadWriteLock15tryLockForWriteEi");
    return announceWriteLock(this, tryWrite, [this, timeout] { return hidden(this, timeout); });
}

void QReadWriteLock::unlock()
{
    static const auto hidden =
        hiddenFunction<void(QReadWriteLock*)>("_ZN14QReadWriteLock6unlockEv");
    const auto held = std::find(heldForWriting.begin(), heldForWriting.end(), this);
    const bool writing = held != heldForWriting.end();
    if (writing)
        heldForWriting.erase(held);
    announceUnlock(this, writing ? 0 : __tsan_mutex_read_lock, [this] { hidden(this); });
}

#if QT_VERSION_MAJOR == 5 // the functions of a QMutex of Qt 6 are inline
QMutex::~QMutex()
{
    __tsan_mutex_destroy(this, 0);
    static const auto hidden = hiddenFunction<void(QMutex*)>("_ZN6QMutexD1Ev");
    hidden(this);
}

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto hidden = hiddenFunction<void(QMutex*)>("_ZN6QMutex4lockEv");
    announceLock(this, 0, [this] { return hidden(this), true; });
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto hidden = hiddenFunction<bool(QMutex*, int)>("_ZN6QMutex7tryLockEi");
    return announceLock(this, __tsan_mutex_try_lock,
                        [this, timeout] { return hidden(this, timeout); });
}

void QMutex::unlock() noexcept
{
    static const auto hidden = hiddenFunction<void(QMutex*)>("_ZN6QMutex6unlockEv");
    announceUnlock(this, 0, [this] { hidden(this); });
}
#endif

bool QWaitCondition::wait(QMutex* mutex, QDeadlineTimer deadline)
{
    static const auto hidden = hiddenFunction<bool(QWaitCondition*, QMutex*, QDeadlineTimer)>(
        "_ZN14QWaitCondition4waitEP6QMutex14QDeadlineTimer");
    return announceWait(mutex, [&] { return hidden(this, mutex, deadline); });
}

bool QWaitCondition::wait(QMutex* mutex, unsigned long time)
{
    static const auto hidden = hiddenFunction<bool(QWaitCondition*, QMutex*, unsigned long)>(
        "_ZN14QWaitCondition4waitEP6QMutexm");
    return announceWait(mutex, [&] { return hidden(this, mutex, time); });
}

// The sanitizer itself sees when a thread starts.
void QThread::start(Priority priority)
{
    connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    static const auto hidden =
        hiddenFunction<void(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    hidden(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto hidden =
        hiddenFunction<bool(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = hidden(this, deadline);
    if (ended)
        __tsan_acquire(this);
    return ended;
}

#if QT_VERSION_MAJOR == 5 // inline in Qt 6
bool QThread::wait(unsigned long time)
{
    static const auto hidden = hiddenFunction<bool(QThread*, unsigned long)>("_ZN7QThread4waitEm");
    const bool ended = hidden(this, time);
    if (ended)
        __tsan_acquire(this);
    return ended;
}
#endif

bool QThread::isFinished() const
{
    static const auto hidden = hiddenFunction<bool(const QThread*)>("_ZNK7QThread10isFinishedEv");
    const bool ended = hidden(this);
    if (ended)
        __tsan_acquire(const_cast<QThread*>(this));
    return ended;
}
