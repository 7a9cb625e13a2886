#include "tests/fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

// Feeds every file of a folder to a harness, after printing its name: the last one printed is the one that crashed.
int main(int, char** a_ppArguments)
{
    for (const auto& oEntry : std::filesystem::directory_iterator(a_ppArguments[1]))
    {
        std::cout << oEntry.path() << std::endl;
        std::ifstream oFile(oEntry.path(), std::ios::binary);
        fuzz(std::string(std::istreambuf_iterator<char>(oFile), {}));
    }
}
