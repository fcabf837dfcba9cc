#include "platform/directory/Directory.h"
