#pragma once

#include <ostream>

#include "app/ctl/Args.h"
#include "platform/registry/Registry.h"

namespace kr {

/// What a command works with.
struct CtlContext {
    Registry& registry;
    std::ostream& out;
};

struct CtlCommand {
    std::string_view group; // "store"
    std::string_view name;  // "sample"
    std::string_view usage; // what follows the name
    std::string_view help;
    std::span<const std::string_view> flags;
    std::span<const std::string_view> options;
    int (*run)(const Args& args, CtlContext& context);
};

/// All commands, in the order in which --help lists them.
std::span<const CtlCommand> CtlCommands();

// The commands themselves.
int StoreCreate(const Args& args, CtlContext& context);
int StoreMailbox(const Args& args, CtlContext& context);
int StoreSample(const Args& args, CtlContext& context);
int StoreDump(const Args& args, CtlContext& context);
int StoreCheck(const Args& args, CtlContext& context);
int StoreRegister(const Args& args, CtlContext& context);
int StoreProfile(const Args& args, CtlContext& context);
int RegistryGet(const Args& args, CtlContext& context);
int RegistrySet(const Args& args, CtlContext& context);
int RegistryDelete(const Args& args, CtlContext& context);

} // namespace kr
