#include "platform/wire/fields.h"
#include "platform/wire/frame.h"
#include "platform/wire/kind.h"
#include "platform/wire/message.h"
#include "platform/wire/shape.h"

namespace wire
{

namespace
{

Operation toOperation(std::uint32_t a_uiNumber)
{
    if (a_uiNumber < static_cast<std::uint32_t>(Operation::Hello) ||
        a_uiNumber > static_cast<std::uint32_t>(Operation::Commit))
    {
        throw DecodeError("operation " + std::to_string(a_uiNumber) + " is not known");
    }
    return static_cast<Operation>(a_uiNumber);
}

Result toResult(std::uint32_t a_uiNumber)
{
    if (a_uiNumber > static_cast<std::uint32_t>(Result::TooLarge))
    {
        throw DecodeError("result " + std::to_string(a_uiNumber) + " is not known");
    }
    return static_cast<Result>(a_uiNumber);
}

korrin::Value toValue(Fields& a_oColumn)
{
    switch (const std::uint32_t uiType = a_oColumn.number("column type"))
    {
    case korrin::eValueNull:
        a_oColumn.nothing("null column");
        return korrin::Value(korrin::eValueNull, 0);
    case korrin::eValueInteger:
        return korrin::Value(korrin::eValueInteger, a_oColumn.integer("integer column"));
    case korrin::eValueText:
        return korrin::Value(korrin::eValueText, a_oColumn.text("text column"));
    default:
        throw DecodeError("column type " + std::to_string(uiType) + " is not known");
    }
}

korrin::ValueList toRow(Fields a_oColumns)
{
    korrin::ValueList oRow;
    while (!a_oColumns.atEnd())
    {
        Fields oColumn = a_oColumns.array("column", g_uiColumnSize, g_uiColumnSize);
        std::string strName = oColumn.text("column name");
        oRow.emplace_back(std::move(strName), toValue(oColumn));
    }
    return oRow;
}

korrin::NameList toNames(Fields a_oTexts)
{
    korrin::NameList oNames;
    while (!a_oTexts.atEnd())
    {
        oNames.push_back(a_oTexts.text("name"));
    }
    return oNames;
}

// Elements of a braced list are read from left to right, as the fields stand in the message.

Request toRequest(Fields& a_oFields)
{
    return Request{a_oFields.number("request sequence"),
                   toOperation(a_oFields.number("request operation")),
                   a_oFields.number("request number"),
                   a_oFields.text("request table"),
                   a_oFields.text("request key column"),
                   a_oFields.text("request key value"),
                   toNames(a_oFields.array("request names", 0, g_uiMaxColumns)),
                   toRow(a_oFields.array("request values", 0, g_uiMaxColumns))};
}

std::list<korrin::ValueList> toRows(Fields a_oRows)
{
    std::list<korrin::ValueList> oRows;
    while (!a_oRows.atEnd())
    {
        oRows.push_back(toRow(a_oRows.array("row", 0, g_uiMaxColumns)));
    }
    return oRows;
}

Reply toReply(Fields& a_oFields)
{
    return Reply{a_oFields.number("reply sequence"),
                 toResult(a_oFields.number("reply result")),
                 a_oFields.text("reply error"),
                 a_oFields.number("reply number"),
                 toRows(a_oFields.array("reply rows", 0, g_uiMaxPayload)),
                 toNames(a_oFields.array("reply names", 0, g_uiMaxColumns))};
}

Message toMessage(Fields a_oFields)
{
    const std::uint32_t uiCount = a_oFields.left();
    const std::uint32_t uiKind = a_oFields.number("message kind");
    if (uiKind == g_uiKindRequest && uiCount == g_uiRequestSize)
    {
        return toRequest(a_oFields);
    }
    if (uiKind == g_uiKindReply && uiCount == g_uiReplySize)
    {
        return toReply(a_oFields);
    }
    if (uiKind == g_uiKindNotification && uiCount == g_uiNotificationSize)
    {
        return Notification{a_oFields.text("notification table")};
    }
    throw DecodeError("message kind " + std::to_string(uiKind) + " with " + std::to_string(uiCount) +
                      " elements is not known");
}

} // namespace

Message decode(std::string_view a_strPayload)
{
    checkShape(a_strPayload);
    const ObjectTree oTree(a_strPayload);
    return toMessage(Fields(oTree.root(), "message", 1, g_uiReplySize + g_uiRequestSize));
}

} // namespace wire
