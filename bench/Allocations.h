#pragma once

namespace QuarraBench {

// Allocations that the process has made so far, the library's among them.
unsigned long allocations();

} // namespace QuarraBench
