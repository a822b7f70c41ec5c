#pragma once

#include <string>

#include "lab/Diff.h"
#include "lab/Usage.h"
#include "lab/Why.h"

// The answers to questions about a switch, as text for people.
namespace QuarraTool {

using namespace QuarraLab;

// The port's value by pools, then the entries: bit by bit when some were asked for (`inDetail`), else one
// line for those of one class ID. Entries that were not asked for the port and do not match are only counted
// then. `ruleTexts`: by entry, the rule as its author wrote it.
std::string whyText( const Switch &theSwitch, const PortReport &report, bool inDetail,
                     const std::map<U32, std::string> &ruleTexts = {} );

std::string bitText( const Switch &theSwitch, const BitReport &report );
std::string tableText( const Switch &theSwitch, const TableReport &report );
std::string portText( const Switch &theSwitch,
                      const QuarraModPort &port ); // what it carries, and whose it is

// Spaces, the groups that hold something or that tables go to by default, and tables.
std::string usageText( const Switch &theSwitch, const Usage &usage );

std::string differenceText( const Difference &difference );

// ---- What they are made of

// "1-3, 7": runs of neighbours folded; at most so many runs, then how many numbers more.
std::string numbersText( const std::vector<U32> &rising, std::size_t most = 12 );

// The entries of a class ID by their tables: "3 of OFFICE, 1 of GUESTS"; entries without a table by number;
// and what was reserved at start-up by its name.
std::string usersText( const Switch &theSwitch, const Holder &holder );

} // namespace QuarraTool
