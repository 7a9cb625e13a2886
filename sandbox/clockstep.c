/* A wall clock that can be stepped for one program: LD_PRELOAD=clockstep.so CLOCKSTEP_FILE=FILE PROGRAM...
 * FILE holds the offset from the real time in seconds, 8 bytes in native order, changed in place. As with a real step,
 * waits until a wall-clock time follow it, waits for a duration do not. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

static const volatile int64_t s_iNoOffset = 0;
static const volatile int64_t* s_pOffset = &s_iNoOffset;
static int (*s_pRealClock)(clockid_t, struct timespec*);

/* Mapped once: programs read the clock often, and their cost is measured. */
__attribute__((constructor)) static void mapOffset(void)
{
    s_pRealClock = (int (*)(clockid_t, struct timespec*))dlsym(RTLD_NEXT, "clock_gettime"); /* costs no system call */
    const char* pPath = getenv("CLOCKSTEP_FILE");
    const int iFile = pPath ? open(pPath, O_RDONLY | O_CLOEXEC) : -1;
    if (iFile >= 0)
    {
        void* pMapped = mmap(NULL, sizeof *s_pOffset, PROT_READ, MAP_SHARED, iFile, 0);
        s_pOffset = pMapped != MAP_FAILED ? pMapped : s_pOffset;
        close(iFile);
    }
}

int clock_gettime(clockid_t a_iClock, struct timespec* a_pNow)
{
    const int iResult =
        s_pRealClock ? s_pRealClock(a_iClock, a_pNow) : (int)syscall(SYS_clock_gettime, a_iClock, a_pNow);
    if (iResult == 0 && (a_iClock == CLOCK_REALTIME || a_iClock == CLOCK_REALTIME_COARSE))
    {
        a_pNow->tv_sec += *s_pOffset;
    }
    return iResult;
}

time_t time(time_t* a_pNow)
{
    struct timespec oNow;
    clock_gettime(CLOCK_REALTIME, &oNow);
    if (a_pNow)
    {
        *a_pNow = oNow.tv_sec;
    }
    return oNow.tv_sec;
}

static int isBefore(const struct timespec* a_pLeft, const struct timespec* a_pRight)
{
    return a_pLeft->tv_sec < a_pRight->tv_sec ||
           (a_pLeft->tv_sec == a_pRight->tv_sec && a_pLeft->tv_nsec < a_pRight->tv_nsec);
}

/* Slices of the steady clock, so that a step is noticed while waiting. */
int pthread_cond_timedwait(pthread_cond_t* a_pCondition, pthread_mutex_t* a_pMutex, const struct timespec* a_pEnd)
{
    struct timespec oNow;
    for (clock_gettime(CLOCK_REALTIME, &oNow); isBefore(&oNow, a_pEnd); clock_gettime(CLOCK_REALTIME, &oNow))
    {
        struct timespec oSlice;
        clock_gettime(CLOCK_MONOTONIC, &oSlice);
        oSlice.tv_nsec += 200 * 1000 * 1000;
        oSlice.tv_sec += oSlice.tv_nsec / 1000000000;
        oSlice.tv_nsec %= 1000000000;
        const int iResult = pthread_cond_clockwait(a_pCondition, a_pMutex, CLOCK_MONOTONIC, &oSlice);
        if (iResult != ETIMEDOUT)
        {
            return iResult;
        }
    }
    return ETIMEDOUT;
}
