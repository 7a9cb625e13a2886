#include "platform/base/syslogsender.h"

#include "platform/base/io.h"
#include "tests/unit/support/folder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <regex>

#include <sys/socket.h>
#include <syslog.h>

// The C library's syslog() would never return here.
TEST(SyslogSender, AStalledLoggerCostsLinesButNoTime)
{
    const Folder oFolder;
    const std::string strPath = oFolder / "log";
    const platform::UniqueFd oLogger(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0));
    ASSERT_TRUE(platform::UnixAddress(strPath).bind(oLogger.get()));
    platform::SyslogSender oSender(strPath);
    const auto oStart = std::chrono::steady_clock::now();
    for (int i = 0; i < 5000; ++i)
    {
        oSender.send(LOG_ERR, "quorvad", "line");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - oStart, std::chrono::seconds(2));
    const auto receive = [&](char(&a_acLine)[200])
    {
        const auto iSize = std::max<ssize_t>(0, recv(oLogger.get(), a_acLine, sizeof a_acLine, 0));
        return std::string(a_acLine, static_cast<std::size_t>(iSize));
    };
    char acLine[200];
    std::string strFirst = receive(acLine);
    EXPECT_TRUE(
        std::regex_match(strFirst, std::regex("<27>[A-Z][a-z]{2} [ \\d]\\d [\\d:]{8} quorvad\\[\\d+\\]: line")));
    unsigned uiRead = 1;
    for (; !receive(acLine).empty(); ++uiRead)
    {
    }
    oSender.send(LOG_ERR, "quorvad", "after");
    EXPECT_NE(std::string::npos, receive(acLine).find(": " + std::to_string(5000 - uiRead) + " log lines dropped"));
    EXPECT_NE(std::string::npos, receive(acLine).find(": after"));
}
