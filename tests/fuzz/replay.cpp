#include "tests/fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

// Every file of a folder through a harness. Its name is printed first: the last line before a crash.
int main(int, char** a_ppArguments)
{
    for (const auto& oEntry : std::filesystem::directory_iterator(a_ppArguments[1]))
    {
        std::cout << oEntry.path() << std::endl;
        std::ifstream oFile(oEntry.path(), std::ios::binary);
        fuzz(std::string(std::istreambuf_iterator<char>(oFile), {}));
    }
}
