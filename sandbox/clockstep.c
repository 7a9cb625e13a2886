/* A wall clock that can be stepped for one program: LD_PRELOAD=clockstep.so CLOCKSTEP_FILE=FILE PROGRAM...
 * FILE holds the offset from the real time in seconds, read again at every look at the clock. As with a real step, waits
 * until a moment of the wall clock follow the step, waits for a span of time don't. */
#define _GNU_SOURCE
#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

static long readOffset(void)
{
    const char* pPath = getenv("CLOCKSTEP_FILE");
    FILE* pFile = pPath ? fopen(pPath, "re") : NULL;
    long iSeconds = 0;
    if (pFile)
    {
        iSeconds = fscanf(pFile, "%ld", &iSeconds) == 1 ? iSeconds : 0;
        fclose(pFile);
    }
    return iSeconds;
}

int clock_gettime(clockid_t a_iClock, struct timespec* a_pNow)
{
    const int iResult = (int)syscall(SYS_clock_gettime, a_iClock, a_pNow);
    if (iResult == 0 && (a_iClock == CLOCK_REALTIME || a_iClock == CLOCK_REALTIME_COARSE))
    {
        a_pNow->tv_sec += readOffset();
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
        oSlice.tv_nsec += 50 * 1000 * 1000;
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
