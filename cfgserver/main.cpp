#include "cfgserver/process.h"

int main(int a_iCount, char** a_ppArguments)
{
    cfgserver::Options oOptions;
    if (const auto oStatus = cfgserver::readOptions(a_iCount, a_ppArguments, oOptions))
    {
        return *oStatus;
    }
    return cfgserver::runProcess(oOptions);
}
