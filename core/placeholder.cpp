// compiles the contracts until their modules stand
#include "core/AgentSession.h"
#include "core/ListModel.h"
