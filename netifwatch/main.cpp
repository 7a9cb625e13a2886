#include "netifwatch/process.h"

int main(int a_iCount, char** a_ppArguments)
{
    return netifwatch::runProcess(a_iCount, a_ppArguments);
}
