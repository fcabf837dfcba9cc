#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/registry/Registry.h"

namespace kr {

/// The registry as text files of the form "Windows Registry Editor Version 5.00", one for each
/// hive: `<userFolder>/user.reg`, `<machineFolder>/machine.reg`. HKEY_CLASSES_ROOT is the part
/// `Software\Classes` of the machine's file. Folders that can't be written make writes throw.
/// A file that does not parse is set aside as `<file>.bad` and read as empty; `report` hears why.
std::unique_ptr<Registry>
MakeRegFileRegistry(const std::string& userFolder, const std::string& machineFolder,
                    const std::function<void(std::string_view)>& report = {});

/// The folders of this person: `$XDG_CONFIG_HOME/zandrel`, and for the machine `/etc/zandrel`, or
/// the folder that the environment variable KR_MACHINE_REGISTRY names.
std::string UserRegistryFolder();
std::string MachineRegistryFolder();

} // namespace kr
