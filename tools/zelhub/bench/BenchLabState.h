#pragma once

#include "tools/zelhub/bench/CBenchLab.h"
#include "tools/zelhub/input/CJsonObject.h"

/// Adds what the models keep to a bench's state: blocks of SMBus devices, registers of the
/// embedded controller, memory, and the faults of the SMBus that wait.
void SaveBenchLab(nlohmann::ordered_json& document, CBenchLab& lab);

/// Puts the models into that state. Throws CToolError (usage) where it does not fit them.
void LoadBenchLab(CJsonObject& object, CBenchLab& lab);
