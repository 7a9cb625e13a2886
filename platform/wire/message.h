#pragma once

#include "korrin/namelist.h"
#include "korrin/valuelist.h"
#include "platform/wire/frame.h"

#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <variant>

/// What client and service say to each other: one MessagePack array per frame, its first element the kind.
///
/// The client opens with Hello as its first request; every request is answered by one reply with the same sequence
/// number, in order; notifications may come between replies.
namespace wire
{

constexpr std::uint32_t g_uiProtocolVersion = 1;

// Options of Hello.
constexpr char g_acNotifyOwnChangesOption[] = "NotifyOwnChanges";
constexpr char g_acReadOnlyOption[] = "ReadOnly";
/// How long the client has been running, in seconds.
constexpr char g_acAgeOption[] = "Age";

// Columns of the reply to Hello. One that ends the connection at an unknown operation lacks the last.
constexpr char g_acServiceColumn[] = "Service";
constexpr char g_acVersionColumn[] = "Version";
constexpr char g_acDigestsColumn[] = "Digests";

/// The column of a reply to GetDigest: a text that differs when the table's values or their order do, and is the same
/// after a restart of the service.
constexpr char g_acDigestColumn[] = "Digest";

/// Numbers on the wire; never reused, new ones at the end.
enum class Operation : std::uint32_t
{
    Hello = 1,
    GetTables = 2,
    GetColumns = 3,
    GetRowCount = 4,
    GetRow = 5,
    GetRowByKey = 6,
    GetRows = 7,
    InsertRow = 8,
    UpdateKey = 9,
    DeleteRow = 10,
    DeleteKey = 11,
    GetAccess = 12,
    DropAccess = 13,
    Commit = 14,
    GetDigest = 15 ///< only of a service whose answer to Hello says that it tells digests
};

/// Result codes of a reply; 0 is success. Numbers on the wire.
enum class Result : std::uint32_t
{
    Ok = 0,
    NotSupported = 1,
    BadRequest = 2, ///< malformed, or not allowed before Hello
    UnknownTable = 3,
    UnknownColumn = 4,
    WrongType = 5,
    DuplicateKey = 6,
    NoSuchRow = 7,
    NoAccess = 8,       ///< a write without write access
    AccessTaken = 9,    ///< another client holds write access
    StorageFailed = 10, ///< the database file refused the transaction; nothing was written
    TooLarge = 11,      ///< a reply or a table beyond its limit
    // made by the client library, never on the wire:
    Disconnected = 100,
    TimedOut = 101,
    Garbled = 102
};

struct Request
{
    std::uint32_t m_uiSequence = 0;
    Operation m_eOperation = Operation::Hello;
    std::uint32_t m_uiNumber = 0; ///< Hello: protocol version; GetRow, DeleteRow: position; GetRows: first position
    std::string m_strTable;       ///< Hello: the client's name
    std::string m_strKeyColumn;
    std::string m_strKeyValue;
    korrin::NameList m_oNames;   ///< columns wanted (empty: all); Hello: tables watched
    korrin::ValueList m_oValues; ///< columns written; Hello: options
};

struct Reply
{
    std::uint32_t m_uiSequence = 0;
    Result m_eResult = Result::Ok;
    std::string m_strError;               ///< why, when m_eResult is not Ok
    std::uint32_t m_uiNumber = 0;         ///< GetRowCount: count; GetRows: rows of the table in all
    std::list<korrin::ValueList> m_oRows; ///< GetRow*: the rows; GetColumns, Hello: one row
    korrin::NameList m_oNames;            ///< GetTables
};

/// The table changed by a commit of another client (or of this one, where asked for).
struct Notification
{
    std::string m_strTable;
};

/// The order is on the wire; new kinds at the end.
using Message = std::variant<Request, Reply, Notification>;

/// Payload of a message, without the length prefix; it may be larger than a frame holds. Throws std::invalid_argument
/// for a value whose type is none of korrin::EValueType. Pure.
std::string encode(const Message& a_oMessage);
/// The message of a payload. Throws DecodeError for anything that is not exactly one well-formed message; never reads
/// beyond the payload and never allocates more than a small multiple of its size. Pure.
Message decode(std::string_view a_strPayload);

} // namespace wire
