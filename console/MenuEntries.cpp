#include "console/Menus.h"

namespace kr {

namespace {

/// "Action" stands in the Action menu at all times; "Sub" stands there and in the context menu
/// while the kind of the selection has it; any other place is the entry that it stands below.
constexpr MenuEntry kEntries[] = {
    {"mnuActionmnuConnect", "Connect to mailbox", "Action", ""},
    {"mnuActionWizard", "Run Startup Wizard", "Action", ""},
    {"mnuActionAgentProps", "zandrelAgent Properties", "Action", ""},
    {"mnuActionmnuAddUser", "Add User", "Action", ""},
    {"mnuActionmnuFind", "Find User", "Action", "Ctrl+F"},
    {"mnuActionmnuLoad", "&Load Users", "Action", ""},
    {"mnuActionmnuDelete", "&Delete All Users", "Action", ""},
    {"mnuActionmnuBackupUsers", "Backup User Data", "Action", ""},
    {"mnuActionmnuRestoreUsers", "Restore User Data", "Action", ""},
    // Connection and backups
    {"mnuSubmnuConnect", "Connect to mailbox", "Sub", ""},
    {"mnuSubmnuBackupConfig", "Backup Configuration", "Sub", ""},
    {"mnuSubmnuRestoreConfig", "Restore Configuration", "Sub", ""},
    {"mnuSubmnuBackupMCL", "Backup Mandatory Contact Lists", "Sub", ""},
    {"mnuSubmnuRestoreMCL", "Restore Mandatory Contact Lists", "Sub", ""},
    {"mnuSubmnuBackupAll", "Backup All", "Sub", "Ctrl+B"},
    {"mnuProxy", "Proxy Configuration", "Sub", ""},
    // Languages
    {"mnuLanguageAdd", "Add Language Pack", "Sub", ""},
    {"mnuLanguageEdit", "Edit", "Sub", ""},
    {"mnuLanguageExport", "Export", "Sub", ""},
    {"mnuLanguageSetDefault", "Make Default", "Sub", ""},
    {"mnuLanguageFind", "Find", "Sub", "Ctrl+F"},
    // Handhelds
    {"mnuMgmtAddProxy", "Add Registration Address", "Sub", ""},
    {"mnuMgmtClearProxy", "Remove Registration Address", "Sub", ""},
    {"mnuImportFolderDesign", "Import Folder Design", "Sub", ""},
    {"mnuLookupAdd", "Add Domain Lookup", "Sub", ""},
    {"mnuLookupDelete", "Delete Domain Lookup", "Sub", ""},
    {"mnuRegFindHandheld", "Find Handheld", "Sub", "Ctrl+F"},
    {"mnuRegImportData", "Import from CSV", "Sub", ""},
    {"mnuRegImportPIN", "Import PIN CSV", "Sub", ""},
    {"mnuRegBesDetails", "Details", "Sub", ""},
    {"mnuRegDetail", "Details", "Sub", ""},
    {"mnuRegMgmt", "Asset Management", "Sub", ""},
    {"mnuRegResend", "Resend Registration", "Sub", ""},
    {"mnuUserHistory", "User History", "Sub", ""},
    {"mnuRegHistory", "Handheld History", "Sub", ""},
    {"mnuRegDelete", "Delete Handheld", "Sub", ""},
    {"mnuRegDeleteAll", "Delete All Handhelds", "Sub", ""},
    // Servers
    {"mnuServerTasks", "Server Tasks...", "Sub", ""},
    {"mnuServerEndTask", "End Current Task", "Sub", ""},
    {"mnuServerStart", "Start Service", "Sub", ""},
    {"mnuServerRestart", "Restart Service", "Sub", ""},
    {"mnuServerStop", "Stop Service", "Sub", ""},
    {"mnuServerEPSNow", "Run EPS Now", "Sub", ""},
    {"mnuServerMCCNow", "Run MCC Now", "Sub", ""},
    {"mnuServerBPENow", "Run BPE Now", "Sub", ""},
    {"mnuServerSSUNow", "Run SSU Now", "Sub", ""},
    {"mnuServerBSRNow", "Run BSR Now", "Sub", ""},
    {"mnuServerDelete", "Delete Server", "Sub", ""},
    // BES Statistics Report
    {"mnuActionResetBSR", "Reset BSR Data", "Sub", ""},
    {"mnuActionmnuBackupBSR", "Backup BSR Data", "Sub", ""},
    {"mnuActionmnuRestoreBSR", "Restore BSR Data", "Sub", ""},
    // Contact sources
    {"mnuAcfAddPF", "Add Public Folder", "Sub", ""},
    {"mnuAcfAddMbx", "Add Mailbox Folder", "Sub", ""},
    {"mnuAcfAddDS", "Add Data Source", "Sub", ""},
    {"mnuAcfTrustMore", "Trust More", "Sub", ""},
    {"mnuAcfTrustLess", "Trust Less", "Sub", ""},
    {"mnuAcfRemove", "Remove Folder", "Sub", ""},
    {"mnuAcfMakeMCL", "Make Mandatory Contacts List", "Sub", ""},
    {"mnuMcAdd", "Add Contact", "Sub", ""},
    {"mnuMcDetails", "Details", "Sub", ""},
    {"mnuMcSetPrivate", "Restrict Access", "Sub", ""},
    {"mnuMcSetACL", "Grant Access", "Sub", ""},
    {"mnuMcShowAccess", "Show Access", "Sub", ""},
    {"mnuMcDelete", "Delete Contact", "Sub", ""},
    // Contact lists
    {"mnuMclSetPath", "Set Folder Path", "Sub", ""},
    {"mnuMclAdd", "Add MCL (Target is User Mailbox)", "Sub", ""},
    {"mnuMclAddPF", "Add MCL (Target is Public Folder)", "Sub", ""},
    {"mnuMclDelete", "Delete MCL", "Sub", ""},
    {"mnuMclMakePDL", "Make PIN Distribution List", "Sub", ""},
    {"mnuMclClearPDL", "Remove PIN Distribution List", "Sub", ""},
    {"mnuCclAdd", "Add CCL", "Sub", ""},
    {"mnuCclDelete", "Delete CCL", "Sub", ""},
    // PIN distribution lists and push lists
    {"mnuPDLAddUser", "Add Users", "Sub", ""},
    {"mnuPDLPush", "Send Push Notification", "Sub", ""},
    {"mnuPDLRemoveUser", "Remove User", "Sub", ""},
    {"mnuPDLView", "View PDL Packet", "Sub", ""},
    {"mnuPDLTextEnable", "Enable for Text Blast", "Sub", ""},
    {"mnuPDLTextDisable", "Disable for Text Blast", "Sub", ""},
    {"mnuMplAdd", "Add Push List", "Sub", ""},
    {"mnuMplPush", "Push Now", "Sub", ""},
    {"mnuMplDelete", "Delete Push List", "Sub", ""},
    {"mnuMplBackup", "Backup Mandatory Push Lists", "Sub", ""},
    {"mnuMplRestore", "Restore Mandatory Push Lists", "Sub", ""},
    // Browser lists
    {"mnuBrowserChannelAdd", "Add Browser Channel", "Sub", ""},
    {"mnuBrowserMessageAdd", "Add Browser Message", "Sub", ""},
    {"mnuBrowserPush", "Push Now", "Sub", ""},
    {"mnuBrowserDelete", "Delete Browser List", "Sub", ""},
    {"mnuBrowserClear", "Remove Channels...", "Sub", ""},
    {"mnuBrowserTARN", "Configure TARN...", "Sub", ""},
    {"mnuBrowserBackup", "Backup Mandatory Browser Channels", "Sub", ""},
    {"mnuBrowserRestore", "Restore Mandatory Browser Channels", "Sub", ""},
    // Users, their restores and Self-Service Update
    {"mnuRestoreGlobal", "Restore User Contacts", "Sub", ""},
    {"mnuRestoreClearGlobal", "Clear Restore Flag", "Sub", ""},
    {"mnuRestore", "View EPS Backups", "Sub", ""},
    {"mnuCustomEPS", "Configure overrides", "Sub", ""},
    {"mnuActionmnuDeleteUser", "Delete User", "Sub", "Del"},
    {"mnuActionmnuDisable", "Disable", "Sub", ""},
    {"mnuRestoreEnable", "Set Restore Flag", "Sub", ""},
    {"mnuRestoreClear", "Clear Restore Flag", "Sub", ""},
    {"mnuRestoreView", "View Restore Status", "Sub", ""},
    {"mnuSSUEnable", "Enable", "Sub", ""},
    {"mnuSSUDisable", "Disable", "Sub", ""},
    {"mnuSSURequest", "Send Request on next run", "Sub", ""},
    {"mnuSSUView", "View SSU page", "Sub", ""},
    {"mnuSSULanguage", "Set Language", "Sub", ""},
    // Personality agents
    {"mnuPersonalityPublish", "Publish", "Sub", ""},
    {"mnuPersonalityRename", "Rename", "Sub", ""},
    {"mnuPersonalityGet", "Get", "Sub", ""},
    {"mnuPersonalityUpdate", "Update", "Sub", ""},
    {"mnuPersonalityDelete", "Delete", "Sub", ""},
    {"mnuCatalogAdd", "Add Catalog", "Sub", ""},
    {"mnuCatalogDelete", "Delete Catalog", "Sub", ""},
    {"mnuCatalogWeb", "View Web Page", "Sub", ""},
    // Notes
    {"mnuMandatorySelect", "Choose Folder", "Sub", ""},
    {"mnuMandatoryAdd", "Add Mandatory Note", "Sub", ""},
    {"mnuMandatoryDelete", "Delete Mandatory Note", "Sub", ""},
    {"mnuNotesPFAdd", "Add Folder", "Sub", ""},
    {"mnuNotesPFDelete", "Delete Folder", "Sub", ""},
    // Connectors
    {"mnuBesConnectorAdd", "Add Connector", "Sub", ""},
    {"mnuBesConnectorSQLAdd", "SQL Server...", "mnuBesConnectorAdd", ""},
    {"mnuBesConnectorMbxAdd", "BES Agent mailbox...", "mnuBesConnectorAdd", ""},
    {"mnuBesConnectorDelete", "Delete Connector", "Sub", ""},
    {"mnuBesInclude", "Include", "Sub", ""},
    {"mnuBesExclude", "Exclude", "Sub", ""},
    // Check lists
    {"mnuCheckListSetFolder", "Set Folder", "Sub", ""},
    {"mnuCheckListAdd", "Add", "Sub", ""},
    {"mnuCheckListEdit", "Edit", "Sub", ""},
    {"mnuCheckListDelete", "Delete", "Sub", ""},
    // Module census
    {"mnuModuleConfigure", "Configure", "Sub", ""},
    {"mnuModuleReport", "View Report", "Sub", ""},
    {"mnuModuleDetail", "View Detail", "Sub", ""},
    {"mnuModuleSaveAs", "Save As", "Sub", ""},
    {"mnuModuleSaveAsCSV", "As CSV", "mnuModuleSaveAs", ""},
    {"mnuModuleSaveAsXML", "As XML", "mnuModuleSaveAs", ""},
    // Every kind
    {"mnuActionActivate", "Make Active", "Sub", ""},
    {"mnuActionInactivate", "Make Inactive", "Sub", ""},
    {"mnuActionmnuProps", "Properties", "Sub", ""},
    {"mnuActionmnuExit", "Exit", "Action", ""},
    {"mnuListViewMode(0)", "Lar&ge Icons", "View", ""},
    {"mnuListViewMode(1)", "S&mall Icons", "View", ""},
    {"mnuListViewMode(2)", "&List", "View", ""},
    {"mnuListViewMode(3)", "&Details", "View", ""},
    {"mnuViewQuick", "&Quick Load", "View", ""},
    {"mnuViewRefresh", "&Refresh", "View", "F5"},
    {"mnuViewTheme", "&Theme", "View", ""},
    {"mnuViewTheme(0)", "As &System", "mnuViewTheme", ""},
    {"mnuViewTheme(1)", "&Light", "mnuViewTheme", ""},
    {"mnuViewTheme(2)", "&Dark", "mnuViewTheme", ""},
    {"mnuHelpSupport", "Contact Support", "Help", ""},
    {"mnuHelpUpdates", "Check for Updates", "Help", ""},
    {"mnuHelpAbout", "About zandrelAgent Administrator", "Help", ""},
};

} // namespace

std::span<const MenuEntry> MenuEntries() { return kEntries; }

const MenuEntry* FindMenuEntry(std::string_view name) {
    for (const MenuEntry& entry : kEntries)
        if (entry.name == name)
            return &entry;
    return nullptr;
}

} // namespace kr
