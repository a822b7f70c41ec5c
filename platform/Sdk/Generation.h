#pragma once

namespace Sdk {

// The generations of the SDK. Each has its own functions for a port's ACL-group value, and its own tables
// behind them.
enum class Generation { sdk6, hsdk };

} // namespace Sdk
