#pragma once

#include "tools/zelhub/commands/ICommand.h"

#include <memory>
#include <vector>

/// Every command of the tool, in the order of the help text. A new one is added here.
std::vector<std::unique_ptr<ICommand>> AllCommands();
