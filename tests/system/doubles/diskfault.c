/* A disk that fails for one program: LD_PRELOAD=diskfault.so DISKFAULT_FILE=FILE PROGRAM...
 * FILE holds two error numbers, for every write and for every sync; 0, or no file, means success. Read at every call.
 * Bytes written before a failed sync are in the file, as they are in a real kernel's cache. */
#define _GNU_SOURCE
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

static int fails(int a_bSync)
{
    const char* pPath = getenv("DISKFAULT_FILE");
    FILE* pFile = pPath ? fopen(pPath, "re") : NULL;
    int aiErrors[2] = {0, 0};
    if (pFile)
    {
        aiErrors[1] = fscanf(pFile, "%d %d", &aiErrors[0], &aiErrors[1]) == 2 ? aiErrors[1] : 0;
        fclose(pFile);
    }
    return aiErrors[a_bSync] != 0 && (errno = aiErrors[a_bSync]);
}

ssize_t pwrite64(int a_iFile, const void* a_pData, size_t a_uiSize, off64_t a_iPlace)
{
    return fails(0) ? -1 : syscall(SYS_pwrite64, a_iFile, a_pData, a_uiSize, a_iPlace);
}

int ftruncate64(int a_iFile, off64_t a_iSize)
{
    return fails(0) ? -1 : (int)syscall(SYS_ftruncate, a_iFile, a_iSize);
}

int fsync(int a_iFile)
{
    return fails(1) ? -1 : (int)syscall(SYS_fsync, a_iFile);
}

int fdatasync(int a_iFile)
{
    return fails(1) ? -1 : (int)syscall(SYS_fdatasync, a_iFile);
}
