#pragma once

#include "netifwatch/dnsserver.h"
#include "netifwatch/interfacefilter.h"
#include "netifwatch/operation.h"
#include "netifwatch/ownrows.h"

#include <set>

namespace netifwatch
{

/// What has to be written to DNSClientServer. Only rows noted as own are ever touched.
///
/// - An interface with rows of somebody else is theirs: own rows of it go.
/// - The servers of an interface stand in its own rows in their order; a row whose server is another now is changed
///   in place, and what is right already is not written.
/// - An interface for which no server is known now (it is down, or the machine is between two networks) keeps its
///   rows: they do no harm, and the table is on flash. Of interfaces that are gone (a_oNames: those there are) the
///   last eight keep theirs.
/// - Rows of interfaces that the filter leaves out go.
///
/// Pure.
[[nodiscard]] Operations planServers(const ServersByName& a_oServers,
                                     const std::set<std::string>& a_oNames,
                                     const Rows& a_oPresent,
                                     const OwnRows& a_oOwn,
                                     const InterfaceFilter& a_oFilter);

/// The own rows among those present. Pure.
[[nodiscard]] OwnRows selectOwn(const Rows& a_oPresent, const OwnRows& a_oOwn);

} // namespace netifwatch
