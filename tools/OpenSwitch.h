#pragma once

#include <memory>

#include "lab/Switch.h"
#include "lab/SwitchDir.h"
#include "tools/Options.h"

// The switch that --switch names. What is wrong with it throws StoreRefused; options that contradict what it
// is, RequestRefused ("storeOfAnother"). A request over which an earlier process died is told on standard
// error.
namespace QuarraTool {

// One that is there. A question makes none. Throws InputError where the options name none.
std::unique_ptr<Switch> openSwitch( const GlobalOptions &global );

// Throws StoreRefused ("storeMissing") where there is none.
void mustBeThere( const std::string &path );

// The same for a directory that is named elsewhere; --variant and --chip are not about it.
std::unique_ptr<Switch> openSwitch( const std::string &path, const QuarraAgent::StoreOptions &options = {} );

// One that is there, or a new one of what the options choose; `ports` are its ports then, and those of the
// chip file do not matter.
std::unique_ptr<Switch> openOrMakeSwitch( const GlobalOptions &global,
                                          const std::vector<QuarraAgent::ChipPort> *ports = nullptr );

// Whether openOrMakeSwitch() will make a new one. A cold start takes a directory without a
// store for a switch.
bool isNotThereYet( const GlobalOptions &global );

// A new one.
std::unique_ptr<Switch> makeSwitch( const GlobalOptions &global, const ChipChoice &choice );

// That a switch which is there is what `asked` says; `what` says it ("--chip").
void checkSameSwitch( const Switch &theSwitch, const ChipChoice &asked, const std::string &what );

// "started cold: 31 entries left the chip, 30 are back; ...", or nothing.
std::string coldText( const std::optional<ColdStarted> &cold );

// "the installation of entry 7 of group 13 (OFFICE|R1), over which a process died, is undone", or nothing.
std::string restartedText( const QuarraAgent::Restarted &restarted );

} // namespace QuarraTool
