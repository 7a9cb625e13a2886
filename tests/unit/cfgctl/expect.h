#pragma once

#include <gtest/gtest.h>
#include <string>

/// The text of the Error that the call throws; a failed test when it throws none.
template<typename Error, typename Call>
std::string reasonOf(const Call& a_oCall)
{
    try
    {
        a_oCall();
    }
    catch (const Error& oError)
    {
        return oError.what();
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
}
