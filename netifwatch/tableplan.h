#pragma once

#include "config/schema.h"
#include "korrin/valuelist.h"
#include "netifwatch/dnssources.h"
#include "netifwatch/interface.h"
#include "netifwatch/options.h"

#include <list>
#include <set>
#include <string>
#include <vector>

namespace netifwatch
{

namespace dbm = quorvad::dbm;

using Rows = std::list<korrin::ValueList>;

/// One write to a table.
struct Operation
{
    enum class Kind
    {
        Insert,
        Update,
        Delete
    };

    Kind m_eKind = Kind::Insert;
    std::string m_strTable;
    std::string m_strName;       ///< of the interface, for the log
    int m_iId = 0;               ///< of the row; not of an inserted one
    korrin::ValueList m_oValues; ///< what is written; of an update only what changes
};
using Operations = std::vector<Operation>;

// The two tables with the state of interfaces. Every row whose name the filter accepts belongs to this program, whoever
// wrote it; other rows are left alone. a_oInterfaces: those that the filter accepts, as readMachine() returns them.
// Pure.

/// The rows, without Id, that StatusNetifWatch should hold: one per interface.
[[nodiscard]] Rows makeIPv4Rows(const Interfaces& a_oInterfaces);

/// The rows that StatusNetIfIPv6Addresses should hold: one per interface with an address that peers can use. Without
/// one there is no row: a reader would send an empty address to the provider, and many providers then delete the
/// name's. a_oPresent: the present rows, whose addresses are kept where they still fit.
[[nodiscard]] Rows makeIPv6Rows(const Interfaces& a_oInterfaces, const Rows& a_oPresent);

/// What has to be written to make the table's rows, as far as the filter accepts them, the wanted ones.
[[nodiscard]] Operations compareByName(const std::string& a_strTable,
                                       const Rows& a_oWanted,
                                       const Rows& a_oPresent,
                                       const InterfaceFilter& a_oFilter);

/// Whether a row of DNSClientServer is this program's, by its column Origin. Pure.
[[nodiscard]] bool isOwn(const korrin::ValueList& a_oServerRow);

/// What has to be written to DNSClientServer. Only own rows are ever touched.
///
/// - An interface with rows of somebody else is left to them: own rows are deleted.
/// - Own rows list the servers of an interface in their order; a row with another server is changed in place, and a row
///   that is right already is not written.
/// - An interface for which no server is known now (it is down, or the machine is between two networks) keeps its
///   rows: they do no harm, and the table is on flash. Of interfaces that are gone (a_oNames: those there are) the
///   last eight keep theirs.
/// - Rows of interfaces that the filter leaves out are left alone: they may be another watcher's.
///
/// Pure.
[[nodiscard]] Operations planServers(const ServersByName& a_oServers,
                                     const std::set<std::string>& a_oNames,
                                     const Rows& a_oPresent,
                                     const InterfaceFilter& a_oFilter);

} // namespace netifwatch
