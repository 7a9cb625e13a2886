#pragma once

#include "cfgctl/arguments.h"

#include <CLI/CLI.hpp>
#include <string>

namespace cfgctl
{

/// A command that the parse puts into a_oRequest, which must live as long as a_oParent.
template<typename Command>
CLI::App& addCommand(CLI::App& a_oParent,
                     Request& a_oRequest,
                     const char* a_pName,
                     const char* a_pHelp,
                     Command* a_pCommand,
                     const std::string& a_strFooter)
{
    CLI::App* pCommand = a_oParent.add_subcommand(a_pName, a_pHelp)->footer(a_strFooter);
    return *pCommand->callback([&a_oRequest, a_pCommand] { a_oRequest.m_oCommand = a_pCommand; });
}

/// An option, or an argument if its name has no dashes; the help calls its value a_pType.
template<typename Value>
CLI::Option*
addOption(CLI::App& a_oCommand, const char* a_pName, Value& a_oValue, const char* a_pHelp, const char* a_pType)
{
    return a_oCommand.add_option(a_pName, a_oValue, a_pHelp)->type_name(a_pType);
}

/// The commands for accounts and providers, with their help. What the command line says goes into a_oRequest, which
/// must live as long as a_oApp. The parse throws UsageError where options that are right by themselves contradict each
/// other.
void addAccountCommands(CLI::App& a_oApp, Request& a_oRequest);

} // namespace cfgctl
