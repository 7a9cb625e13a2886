#pragma once

#include "cfgctl/inputoutput.h"
#include "tests/unit/support/child.h"

#include <fcntl.h>
#include <string>
#include <vector>

/// The program cfgctl as a child, its descriptors on files of a folder.
class ChildProgram : public Child
{
public:
    /// @param a_iOutput becomes its standard output; -1 leaves it without one
    ChildProgram(std::vector<std::string> a_oArguments,
                 const std::string& a_strInput,
                 int a_iOutput,
                 const std::string& a_strErrors)
        : Child([&] { return become(a_oArguments, a_strInput, a_iOutput, a_strErrors); })
    {
    }

private:
    static int become(std::vector<std::string>& a_oArguments,
                      const std::string& a_strInput,
                      int a_iOutput,
                      const std::string& a_strErrors)
    {
        std::string strProgram = CFGCTL_PROGRAM;
        std::vector<char*> oPointers = {strProgram.data()};
        for (std::string& strArgument : a_oArguments)
        {
            oPointers.push_back(strArgument.data());
        }
        oPointers.push_back(nullptr);
        dup2(open(a_strInput.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        dup2(open(a_strErrors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
        a_iOutput >= 0 ? dup2(a_iOutput, STDOUT_FILENO) : close(STDOUT_FILENO);
        return execv(oPointers.front(), oPointers.data());
    }
};
