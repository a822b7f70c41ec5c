#pragma once

#include <memory>

#include "Nodra/Export.h"

namespace Nodra {

// Reference-counted pointers of records and nodes. A copy costs an atomic operation once any thread has run,
// so hot paths pass `const Ptr &` or a plain reference.
template <typename T>
using Ptr = std::shared_ptr<T>;

template <typename T>
using PtrConst = std::shared_ptr<const T>;

// Base of entities that the agent holds by pointer and that are derived from.
class NODRA_API Node {
 public:
   Node() = default;
   Node( const Node & ) = delete;
   Node &operator=( const Node & ) = delete;
   virtual ~Node() = default;
};

} // namespace Nodra
