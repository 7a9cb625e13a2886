#pragma once

#include "netifwatch/interface.h"
#include "netifwatch/interfacefilter.h"
#include "netifwatch/operation.h"

namespace netifwatch
{

// The two tables that tell the state of interfaces. Every row whose name the filter accepts is this program's affair,
// whoever wrote it; other rows are left alone. Pure.

/// The rows, without Id, that StatusNetifWatch should hold: one per interface.
[[nodiscard]] Rows makeIPv4Rows(const Interfaces& a_oInterfaces, const InterfaceFilter& a_oFilter);

/// The rows that StatusNetIfIPv6Addresses should hold: one per interface with an address that peers can use. Without
/// one there is no row: a reader takes a row that turned empty for news to be sent to the provider, and many providers
/// take an empty address for the order to delete the name's. a_oPresent: the rows as they are, whose addresses are
/// kept where they still fit.
[[nodiscard]] Rows
makeIPv6Rows(const Interfaces& a_oInterfaces, const InterfaceFilter& a_oFilter, const Rows& a_oPresent);

/// What has to be written so that the table's rows, as far as the filter accepts them, are the wanted ones.
[[nodiscard]] Operations compareByName(const std::string& a_strTable,
                                       const Rows& a_oWanted,
                                       const Rows& a_oPresent,
                                       const InterfaceFilter& a_oFilter);

} // namespace netifwatch
