#include "cfgserver/process.h"

int main(int a_iCount, char** a_ppArguments)
{
    return cfgserver::runProcess(a_iCount, a_ppArguments);
}
