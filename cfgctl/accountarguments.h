#pragma once

#include "cfgctl/arguments.h"

#include <CLI/CLI.hpp>

namespace cfgctl
{

/// The commands for accounts and providers, with their help. What the command line says goes into a_oOptions, the
/// command it names into a_oRequest; both must live as long as a_oApp. The parse throws UsageError where options that
/// are right by themselves contradict each other.
void addAccountCommands(CLI::App& a_oApp, Options& a_oOptions, Request& a_oRequest);

} // namespace cfgctl
