// Untrusted text on its way into the log: one line, from which the bytes can be restored.
#include "platform/base/escape.h"
#include "tests/fuzz/fuzz.h"

#include <algorithm>

void fuzz(std::string_view a_strInput)
{
    using platform::escape;
    const std::string strLine = escape(a_strInput);
    const std::string strCut = escape(a_strInput, a_strInput.size() / 2);
    const std::size_t uiMark = strCut.rfind("...[cut, ");
    require(strCut == strLine ||
            (uiMark <= a_strInput.size() / 2 && strLine.compare(0, uiMark, strCut, 0, uiMark) == 0));
    std::string strPlain = strLine, strBytes;
    std::replace(strPlain.begin(), strPlain.end(), '\\', '/');
    require(escape(strPlain) == strPlain); // nothing is left that needs an escape
    for (std::size_t uiAt = 0; uiAt < strLine.size(); uiAt += strLine[uiAt] == '\\' ? 4 : 1)
    {
        const bool bEscape = strLine[uiAt] == '\\';
        strBytes += bEscape ? static_cast<char>(std::stoi(strLine.substr(uiAt + 2, 2), nullptr, 16)) : strLine[uiAt];
    }
    require(strBytes == a_strInput);
}
