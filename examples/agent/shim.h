#pragma once

#include "Sdk/SdkShim.h"

// Installs this agent's SDK shim.
void installShim();
