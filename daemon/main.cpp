#include "daemon/application.h"

int main(int argc, char** argv)
{
    return quorvad::runDaemon(argc, argv);
}
