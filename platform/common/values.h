#pragma once

#include "korrin/valuelist.h"

#include <string>

namespace platform
{

// Column values, made short.

[[nodiscard]] inline korrin::Value integer(int a_iValue)
{
    return {korrin::eValueInteger, a_iValue};
}

[[nodiscard]] inline korrin::Value text(const std::string& a_strText)
{
    return {korrin::eValueText, a_strText};
}

} // namespace platform
