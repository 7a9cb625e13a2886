#pragma once

#include "cfgctl/account/problems.h"

#include <string>
#include <vector>

// The parts of findProblems.
namespace cfgctl
{

/// Collects problems of one account. Borrows all it is given.
class ProblemFinder
{
public:
    ProblemFinder(const korrin::ValueList& a_oAccount, const StatusSources& a_oSources, std::vector<Problem>& a_oFound)
        : m_oAccount(a_oAccount), m_oSources(a_oSources), m_oFound(a_oFound), m_strInterface(text(dbm::Interface)),
          m_oWatch(findLast(a_oSources.m_oInterfaces, dbm::Name, m_strInterface))
    {
    }

protected:
    [[nodiscard]] std::string text(const char* a_pColumn) const { return textOf(m_oAccount, a_pColumn); }
    /// The command that changes the account by the rules by which it was added.
    [[nodiscard]] std::string change(const std::string& a_strOptions, const std::string& a_strEffect) const
    {
        return "'cfgctl account set " + idOrPlaceholder() + " " + a_strOptions + "' " + a_strEffect;
    }
    /// The command for what that one does not change.
    [[nodiscard]] std::string setting(const std::string& a_strAssignment) const
    {
        return "'cfgctl set DynDns Id=" + idOrPlaceholder() + " " + a_strAssignment + "' sets it";
    }
    [[nodiscard]] std::string idOrPlaceholder() const { return text(dbm::Id).empty() ? "ID" : text(dbm::Id); }
    void stopIf(bool a_bSo,
                const char* a_pCode,
                const std::string& a_strWhat,
                const std::string& a_strNext,
                const std::string& a_strBrief)
    {
        if (a_bSo)
        {
            m_oFound.push_back({true, a_strWhat, a_strNext, a_strBrief, a_pCode});
        }
    }
    void warnIf(bool a_bSo, const char* a_pCode, const std::string& a_strWhat, const std::string& a_strNext)
    {
        if (a_bSo)
        {
            m_oFound.push_back({false, a_strWhat, a_strNext, {}, a_pCode});
        }
    }

    const korrin::ValueList& m_oAccount;
    const StatusSources& m_oSources;
    std::vector<Problem>& m_oFound;
    const std::string m_strInterface;
    const korrin::ValueList& m_oWatch; ///< the interface's row
};

/// Programs that are missing, interface, addresses, DNS servers.
void findMachineProblems(const korrin::ValueList& a_oAccount,
                         const StatusSources& a_oSources,
                         std::vector<Problem>& a_oFound);
/// What is sent, and how the provider took it the last time.
void findRequestProblems(const korrin::ValueList& a_oAccount,
                         const StatusSources& a_oSources,
                         std::vector<Problem>& a_oFound);

} // namespace cfgctl
