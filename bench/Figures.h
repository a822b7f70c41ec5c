#pragma once

#include <functional>
#include <string>
#include <vector>

namespace QuarraBench {

// One operation, ready to be repeated; owns what it works on. One side of a figure at a time may live: the
// simulated chip is one.
using Operation = std::function<void()>;

// A ratio of two sides that do the same work: the operation, and the floor that it is held against.
struct Figure {
   std::string id;
   std::string what;
   double target; // at most
   std::function<Operation()> operation;
   std::function<Operation()> floor;
};

// P1 to P6. Each floor is what the operation cannot avoid, written on bare containers or bare SDK calls.
const std::vector<Figure> &figures();

// Chip writes of joining an equal group and of programming an equal group again.
unsigned long chipWritesOfEqualGroups();

} // namespace QuarraBench
