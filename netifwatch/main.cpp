#include "netifwatch/options.h"
#include "netifwatch/process.h"

int main(int a_iCount, char** a_ppArguments)
{
    netifwatch::Options oOptions;
    if (const auto oStatus = netifwatch::readOptions(a_iCount, a_ppArguments, oOptions))
    {
        return *oStatus;
    }
    return netifwatch::runProcess(oOptions);
}
