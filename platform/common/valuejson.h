#pragma once

#include "korrin/valuelist.h"

#include <nlohmann/json.hpp>

// Rows as JSON: a value becomes a number, a text or null, a row an object whose names keep the columns' order.
namespace nlohmann
{

template<>
struct adl_serializer<korrin::Value>
{
    static void to_json(ordered_json& a_oJson, const korrin::Value& a_oValue)
    {
        switch (a_oValue.getType())
        {
        case korrin::eValueInteger:
            a_oJson = a_oValue.getInteger();
            break;
        case korrin::eValueText:
            a_oJson = a_oValue.getText();
            break;
        default:
            a_oJson = nullptr;
        }
    }
};

template<>
struct adl_serializer<korrin::ValueList>
{
    static void to_json(ordered_json& a_oJson, const korrin::ValueList& a_oRow)
    {
        a_oJson = ordered_json::object();
        for (const auto& [strColumn, oValue] : a_oRow)
        {
            a_oJson[strColumn] = oValue;
        }
    }
};

} // namespace nlohmann
