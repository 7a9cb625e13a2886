#pragma once

#include "vadro/error/assert.h"
#include "vadro/sysloglevel.h"

#include <functional>
#include <gmock/gmock.h>

#include <sstream>

/// Captures standard error for its lifetime, and with it the log at every level.
class LogCapture
{
public:
    LogCapture()
    {
        VADRO_Sysloglevel_set(0);
        VADRO_Sysloglevel_changeTracelevelAll(1023);
        testing::internal::CaptureStderr();
    }
    ~LogCapture()
    {
        VADRO_Sysloglevel_changeTracelevelAll(0);
        VADRO_Sysloglevel_set(1);
        testing::internal::GetCapturedStderr();
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// What was written since the last call.
    std::string take()
    {
        std::string strText = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        return strText;
    }
    /// All log lines not taken so far, each as "<level> <text>".
    const std::vector<std::string>& lines()
    {
        std::istringstream oStream(take());
        for (std::string strWord, strLevel, strLine;
             oStream >> strWord >> strWord >> strLevel && std::getline(oStream, strLine);)
        {
            m_oLines.push_back(strLevel + " " + strLine.substr(strLine.find(": ") + 2));
        }
        return m_oLines;
    }
    bool has(const std::string& a_strLine) { return testing::Value(lines(), testing::Contains(a_strLine)); }

private:
    std::vector<std::string> m_oLines;
};

/// What a function writes to the log, debug lines included: "<level> <text>\n" of each line.
inline std::string logOf(const std::function<void()>& a_oRun)
{
    LogCapture oLog;
    a_oRun();
    std::string strLog;
    for (const std::string& strLine : oLog.lines())
    {
        strLog += strLine + '\n';
    }
    return strLog;
}

/// Matches a call that fails the assertion "<type>) at <file>:<line>: <expression>".
inline auto Asserts(const std::string& a_strText)
{
    return testing::ThrowsMessage<vadro::error::AssertionFailed>(testing::EndsWith(a_strText));
}
