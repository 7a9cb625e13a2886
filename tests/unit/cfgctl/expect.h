#pragma once

#include <gtest/gtest.h>
#include <string>

/// The message of the Error that the call must throw.
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
    ADD_FAILURE() << "nothing was thrown";
    return {};
}
