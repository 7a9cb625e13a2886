#pragma once

#include "korrin/namelist.h"
#include "korrin/protocol/resultcode.h"
#include "korrin/valuelist.h"

#include <list>
#include <string>
#include <utility>

namespace vadro::cfg::common
{

/// Rows of the configuration database, read and written through the configuration service.
///
/// One thread calls (the one that runs the event dispatcher). Every operation is one exchange with the service: it
/// may block for the request time limit (10 s), after which it fails. Positions count from 0 in table order; keys are
/// a column name and the value as text. Operations with a body here may be left out by a client that has no use for
/// them; they then answer "not supported".
class IConfigClient
{
public:
    static constexpr unsigned int s_uiNotSupported = 1;

    virtual ~IConfigClient() = default;

    /// Appends the names of all tables of the service's schema.
    virtual korrin::protocol::EResultCode gettables(std::list<std::string>&) { return s_uiNotSupported; }
    /// The columns of a table: name, and a value whose type is the column's type and whose content is its default.
    virtual korrin::protocol::EResultCode getcolumns(const std::string&, korrin::ValueList&)
    {
        return s_uiNotSupported;
    }
    /// Text that says what the last failed operation was refused for; empty after a success.
    virtual korrin::protocol::EResultCode getlasterror(std::string&) { return s_uiNotSupported; }

    /// Sets the number of rows; a failing call leaves the count as it was.
    virtual korrin::protocol::EResultCode getrowcount(const std::string& a_strTable, unsigned int& a_uiCount) = 0;
    virtual korrin::protocol::EResultCode getrow(const std::string& a_strTable,
                                                 unsigned int a_uiIndex,
                                                 korrin::NameList& a_oColumns,
                                                 korrin::ValueList& a_oValues) = 0;
    /// Fails when no row matches; with several matches the first in table order is read.
    virtual korrin::protocol::EResultCode getrowbykey(const std::string& a_strTable,
                                                      const std::string& a_strKeyColumn,
                                                      const std::string& a_strKeyValue,
                                                      korrin::NameList& a_oColumns,
                                                      korrin::ValueList& a_oValues) = 0;
    /// Appends a row. Needs write access.
    virtual korrin::protocol::EResultCode insertrow(const std::string& a_strTable, korrin::ValueList a_oValues) = 0;

    /// Reads all rows of a table in order.
    virtual korrin::protocol::EResultCode getrows(const std::string&, std::list<korrin::ValueList>&)
    {
        return s_uiNotSupported;
    }
    /// Deletes the row whose key column has that value. Needs write access; fails when no row matches.
    virtual korrin::protocol::EResultCode deletekey(const std::string&, const std::string&, const std::string&)
    {
        return s_uiNotSupported;
    }

    /// Writes the given columns into the row of that key. Needs write access; fails when no row matches.
    virtual korrin::protocol::EResultCode updatekey(const std::string& a_strTable,
                                                    const std::string& a_strKeyColumn,
                                                    const std::string& a_strKeyValue,
                                                    korrin::ValueList a_oValues) = 0;
    /// Deletes the row at a position; the rows behind it move up by one. Needs write access.
    virtual korrin::protocol::EResultCode deleterow(const std::string& a_strTable, unsigned int a_uiIndex) = 0;

    /// Gives up write access; uncommitted writes vanish.
    virtual korrin::protocol::EResultCode dropdbaccess() { return s_uiNotSupported; }

    /// True while this client holds write access. Never blocks.
    virtual bool hasdbaccess() = 0;

    /// Name and version of the service, as one text.
    virtual korrin::protocol::EResultCode getserviceversion(std::string&) { return s_uiNotSupported; }

    /// Asks for write access once; success when granted. One client holds it at a time.
    virtual korrin::protocol::EResultCode getdbaccess() = 0;
    /// Makes the writes durable and visible to others, and ends the write access.
    virtual korrin::protocol::EResultCode commit() = 0;
};

} // namespace vadro::cfg::common
