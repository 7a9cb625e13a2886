#pragma once

#include "cfgctl/arguments.h"

#include <CLI/CLI.hpp>
#include <string>

namespace cfgctl
{

/// Adds a command, which the parse stores in a_oRequest. That must outlive a_oParent.
template<typename Function>
CLI::App& addCommand(CLI::App& a_oParent,
                     Request& a_oRequest,
                     const char* a_pName,
                     const char* a_pHelp,
                     Function* a_pCommand,
                     const std::string& a_strFooter)
{
    CLI::App* pCommand = a_oParent.add_subcommand(a_pName, a_pHelp)->footer(a_strFooter);
    return *pCommand->callback([&a_oRequest, a_pCommand] { a_oRequest.m_oCommand = a_pCommand; });
}

/// Adds an option, or an argument if its name has no dashes; a_pType names the value in the help.
template<typename Value>
CLI::Option*
addOption(CLI::App& a_oCommand, const char* a_pName, Value& a_oValue, const char* a_pHelp, const char* a_pType)
{
    return a_oCommand.add_option(a_pName, a_oValue, a_pHelp)->type_name(a_pType);
}

/// Adds the commands for accounts and providers. The parse stores options and command in a_oRequest, which must outlive
/// a_oApp, and throws UsageError for options that contradict each other.
void addAccountCommands(CLI::App& a_oApp, Request& a_oRequest);

} // namespace cfgctl
