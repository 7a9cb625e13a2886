#pragma once

#include "platform/common/file.h"

#include <ares.h>
#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace quorvad
{

/// Makes channels that know the machine's resolver settings (search list, servers, options) without each reading the
/// files that hold them. The files are parsed again when one of them or the host's name has changed, and after a minute
/// in any case. Any thread; blocks only for those files.
class ChannelTemplate
{
public:
    using Parser = std::function<int(ares_channel*)>;
    using Paths = std::array<const char*, 4>;

    /// Changes within one tick of a file system's clock look like one; so long a changed file is parsed each time.
    static constexpr std::int64_t s_iTickSec = 2;

    /// @param a_oPaths the files on which the settings depend
    /// @param a_oParse makes a channel with the present settings
    explicit ChannelTemplate(const Paths& a_oPaths, Parser a_oParse = ares_init, std::int64_t a_iTickSec = s_iTickSec);
    ~ChannelTemplate();
    ChannelTemplate(const ChannelTemplate&) = delete;
    ChannelTemplate& operator=(const ChannelTemplate&) = delete;

    /// The process's own, for the machine's files.
    static ChannelTemplate& shared();

    /// Like ares_init, with its results, and with a callback for changes of the channel's sockets if there is one.
    [[nodiscard]] int
    make(ares_channel* a_ppChannel, ares_sock_state_cb a_pCallback = nullptr, void* a_pData = nullptr);

private:
    /// What tells whether the settings have changed.
    struct Sources
    {
        std::array<platform::FileStamp, std::tuple_size<Paths>::value> m_oFiles;
        std::string m_strHost;
    };
    struct Settings
    {
        ares_options m_oOptions = {};
        int m_iMask = 0;
        ares_addr_port_node* m_pServers = nullptr; ///< all, if m_oOptions cannot hold them
    };

    [[nodiscard]] Sources look() const;
    [[nodiscard]] bool isCurrent(const Sources& a_oSources) const;
    [[nodiscard]] bool mayBeKept(const Sources& a_oSources) const;
    int parse(const Sources& a_oSources);
    void forget();
    int copy(ares_channel* a_ppChannel, ares_sock_state_cb a_pCallback, void* a_pData);

    const Paths m_oPaths;
    const Parser m_oParse;
    const std::int64_t m_iTickSec;
    std::mutex m_oMutex; ///< guards what follows
    Sources m_oSources = {};
    Settings m_oSettings;
    std::int64_t m_iGoodUntil = 0; ///< seconds of the steady clock
};

} // namespace quorvad
