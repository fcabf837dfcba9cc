#include "console/Menus.h"

#include <algorithm>

namespace kr {

namespace {

/// Kinds that share a set, and the set; both separated by blanks.
struct KindSet {
    std::string_view kinds;
    std::string_view entries;
};
constexpr KindSet kSets[] = {
    {"agent", "mnuActionmnuProps mnuSubmnuConnect mnuSubmnuBackupConfig "
              "mnuSubmnuRestoreConfig mnuSubmnuBackupMCL mnuSubmnuRestoreMCL "
              "mnuSubmnuBackupAll mnuProxy"},
    {"langroot", "mnuLanguageAdd"},
    {"language", "mnuLanguageExport mnuLanguageSetDefault mnuLanguageFind"},
    {"message", "mnuLanguageEdit mnuLanguageFind"},
    {"mgmt", "mnuActionmnuProps mnuMgmtAddProxy mnuMgmtClearProxy mnuImportFolderDesign"},
    {"lookup", "mnuLookupAdd"},
    {"domain", "mnuLookupDelete"},
    {"reg", "mnuRegFindHandheld mnuRegImportData mnuRegDeleteAll"},
    {"regbes", "mnuRegBesDetails"},
    {"reghh", "mnuRegDelete mnuRegDeleteAll mnuRegImportData mnuRegFindHandheld "
              "mnuRegMgmt mnuRegDetail mnuUserHistory mnuRegHistory"},
    {"server", "mnuActionmnuProps mnuServerDelete mnuServerEndTask mnuServerStart "
               "mnuServerRestart mnuServerStop mnuServerEPSNow mnuServerMCCNow "
               "mnuServerBPENow mnuServerSSUNow mnuServerBSRNow"},
    {"mcr", "mnuMcAdd"},
    {"mclf", "mnuMclSetPath mnuMclAdd mnuMclAddPF"},
    {"mcl mclacf mclacds",
     "mnuMclDelete mnuActionActivate mnuActionInactivate mnuMclAdd mnuMclAddPF "
     "mnuActionmnuProps mnuMclMakePDL mnuMclClearPDL"},
    {"cclroot", "mnuCclAdd"},
    {"ccl", "mnuCclDelete mnuCclAdd mnuActionActivate mnuActionInactivate "
            "mnuActionmnuProps"},
    {"pdlroot pdlrootX", "mnuPDLAddUser mnuActionmnuProps"},
    {"pdl", "mnuMclClearPDL mnuActionmnuProps"},
    {"pdlt pushuser", "mnuPDLPush mnuPDLRemoveUser mnuPDLView mnuPDLTextEnable mnuPDLTextDisable"},
    {"mplroot", "mnuMplAdd mnuMplBackup mnuMplRestore"},
    {"mpl", "mnuMplDelete mnuMplPush mnuActionmnuProps"},
    {"epsroot", "mnuActionmnuProps mnuRestoreGlobal mnuRestoreClearGlobal"},
    {"acfroot", "mnuAcfAddPF mnuAcfAddMbx mnuAcfAddDS"},
    {"mastercntct", "mnuMcAdd mnuMcDelete mnuMcDetails mnuMcSetPrivate mnuMcSetACL "
                    "mnuMcShowAccess"},
    {"altcntct", "mnuMcDelete mnuMcDetails"},
    {"acf acds acfmbx", "mnuAcfTrustMore mnuAcfTrustLess mnuAcfRemove mnuAcfMakeMCL "
                        "mnuActionActivate mnuActionInactivate mnuActionmnuProps"},
    {"epsuser", "mnuRestore mnuCustomEPS mnuActionmnuDeleteUser mnuActionmnuDisable "
                "mnuRestoreView"},
    {"epsrestoreuser", "mnuRestoreEnable mnuRestoreClear mnuRestoreView"},
    {"ssuroot", "mnuSSUEnable mnuSSUDisable mnuSSURequest mnuSSUView"},
    {"ssuser", "mnuSSUEnable mnuSSUDisable mnuSSURequest mnuSSUView mnuSSULanguage"},
    {"installed", "mnuPersonalityPublish"},
    {"zpa", "mnuPersonalityRename mnuPersonalityUpdate mnuPersonalityDelete"},
    {"catroot", "mnuCatalogAdd"},
    {"catalog", "mnuCatalogDelete"},
    {"zpa:cat", "mnuCatalogWeb mnuPersonalityGet mnuPersonalityUpdate"},
    {"bsrroot", "mnuActionmnuProps mnuServerBSRNow mnuActionResetBSR mnuActionmnuBackupBSR "
                "mnuActionmnuRestoreBSR"},
    {"epsnotes", "mnuMandatorySelect mnuMandatoryAdd"},
    {"epsnote xepsnote", "mnuActionmnuProps mnuMandatoryAdd mnuMandatoryDelete mnuActionActivate "
                         "mnuActionInactivate"},
    {"epsnotesPF", "mnuNotesPFAdd mnuActionmnuProps"},
    {"epsnotePF", "mnuNotesPFDelete mnuActionmnuProps mnuActionActivate mnuActionInactivate"},
    {"mbl-eps mbl-bsr", "mnuBrowserChannelAdd mnuBrowserMessageAdd mnuBrowserClear mnuBrowserTARN "
                        "mnuBrowserBackup mnuBrowserRestore"},
    {"mbl:channel mbl:message",
     "mnuBrowserDelete mnuBrowserPush mnuActionmnuProps mnuActionActivate "
     "mnuActionInactivate"},
    {"besconnectorroot", "mnuBesConnectorAdd"},
    {"connector:sql connector:mbx", "mnuBesConnectorDelete mnuActionmnuProps"},
    {"bes", "mnuBesInclude mnuBesExclude"},
    {"chklstroot", "mnuCheckListSetFolder mnuCheckListAdd mnuActionmnuProps"},
    {"chklst chklstx", "mnuCheckListEdit mnuCheckListDelete mnuCheckListAdd"},
    {"censusroot census", "mnuModuleConfigure mnuModuleReport mnuModuleDetail mnuModuleSaveAs"},
    // The list of all users stands outside the tree; its rows have the commands on users.
    {"user", "mnuActionmnuDeleteUser mnuActionmnuDisable mnuSSULanguage"},
};

/// What a double click runs.
constexpr KindSet kActivations[] = {
    {"mcl mclacf mclacds ccl mpl zpa zpa:cat pdl epsnote epsnotePF connector:sql connector:mbx "
     "mbl:channel mbl:message server",
     "mnuActionmnuProps"},
    {"message", "mnuLanguageEdit"},
    {"reghh", "mnuRegDetail"},
    {"regbes", "mnuRegBesDetails"},
    {"mastercntct altcntct", "mnuMcDetails"},
    {"chklst", "mnuCheckListEdit"},
    {"epsuser", "mnuRestore"},
    {"language domain mcr acf acds acfmbx bes", "goto"},
};

bool hasWord(std::string_view words, std::string_view word) {
    for (size_t at = words.find(word); at != words.npos; at = words.find(word, at + 1)) {
        const size_t end = at + word.size();
        if ((at == 0 || words[at - 1] == ' ') && (end == words.size() || words[end] == ' '))
            return true;
    }
    return false;
}

std::string_view setOf(std::span<const KindSet> table, std::string_view tag) {
    for (const KindSet& set : table)
        if (!tag.empty() && hasWord(set.kinds, tag))
            return set.entries;
    return {};
}

} // namespace

std::vector<std::string_view> MenuSet(std::string_view tag) {
    std::vector<std::string_view> names;
    std::string_view rest = setOf(kSets, tag);
    while (!rest.empty()) {
        const size_t blank = std::min(rest.find(' '), rest.size());
        names.push_back(rest.substr(0, blank));
        rest.remove_prefix(std::min(blank + 1, rest.size()));
    }
    return names;
}

std::string_view ActivationOf(std::string_view tag) { return setOf(kActivations, tag); }

} // namespace kr
