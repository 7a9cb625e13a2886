#pragma once

#include "cfgctl/account/provider.h"

#include <string>
#include <string_view>
#include <vector>

namespace cfgctl
{

/// The providers of {"providers": [{"key": ..., "url": ..., ...}, ...]}; docs/providers.md lists the fields. Everything
/// is checked: names known, types right, keys given once, templates https with placeholders that somebody fills in.
/// Pure. Throws Failure that names the entry and what is wrong with it.
[[nodiscard]] Providers parseProviders(std::string_view a_strJson);

/// The same the other way round, every field of every provider. Pure.
[[nodiscard]] std::string providersToJson(const Providers& a_oProviders);

struct ProviderList
{
    Providers m_oProviders;
    std::vector<std::string> m_oComplaints; ///< files that could not be used, and why
};

/// The providers that came with the program, then those of g_pOwnProviders where that file is there, then those of
/// a_strMore unless it is empty. An entry of a later file takes the place of one with the same key; a file with a fault
/// adds nothing and is complained about. Reads files; never throws for their content.
[[nodiscard]] ProviderList loadProviders(const std::string& a_strMore);

constexpr const char* g_pOwnProviders = "/etc/quorvad/providers.json";

} // namespace cfgctl
