#pragma once

#include "tests/unit/support/child.h"
#include "tests/unit/support/folder.h"
#include "tests/unit/support/logcapture.h"
#include "vadro/daemon.h"

// A PID file in a folder of its own, with the log captured.
class PidFileTest : public testing::Test
{
protected:
    PidFileTest() { VADRO_Daemon_construct(&m_oDaemon, "quorvad", (m_oFolder / "").c_str()); }

    static std::string lineOf(pid_t a_iPid) { return std::to_string(a_iPid) + "\n"; }
    void put(const std::string& a_strContents) { std::ofstream(m_oDaemon.m_strPidFile) << a_strContents; }
    std::string contents() { return contentOf(m_oDaemon.m_strPidFile); }
    auto countFiles() { return std::distance(std::filesystem::directory_iterator(m_oFolder / ""), {}); }
    // What a_oPut puts there must not keep a start from taking the name.
    void expectStale(const std::function<void()>& a_oPut)
    {
        a_oPut();
        EXPECT_EQ(0, VADRO_Daemon_occupiedPidFile(&m_oDaemon));
        VADRO_Daemon_deletePidFile(&m_oDaemon);
        EXPECT_NE(0, VADRO_Daemon_createPidFile(&m_oDaemon));
        EXPECT_EQ(lineOf(getpid()), contents());
        VADRO_Daemon_deletePidFile(&m_oDaemon);
    }

    LogCapture m_oCapture;
    Folder m_oFolder;
    VADRO_Daemon m_oDaemon;
};
