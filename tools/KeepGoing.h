#pragma once

#include "acl/ReadAcl.h"
#include "lab/ChangeRun.h"
#include "lab/JsonText.h"

// What is wrong with a configuration and is left out of it, instead of refusing all of it (--keep-going).
namespace QuarraTool {

// The configuration without what is wrong, where `keepGoing` asks for that and something can be used; else
// all of it. Throws AclRefused.
QuarraAcl::AclReading usableOf( QuarraAcl::AclReading reading, bool keepGoing );

// Whether one of the complaints is about the rule, "TABLE|RULE", or about its table.
bool isComplainedAbout( const std::vector<QuarraAcl::AclComplaint> &complaints, const std::string &rule );

// What is wrong with a rule may be a slip of the pen: what a switch holds of it is not taken away for that.
// The complaints must live as long.
QuarraLab::ChangeOptions keepingWhatIsWrong( const std::vector<QuarraAcl::AclComplaint> &complaints );

// A line for each, the first 100 unless `all` are wanted. And as a part of a report: under the heading, or
// nothing.
constexpr auto wrongHeading = "Left out, for what is wrong with it";
std::vector<std::string> wrongLines( const std::vector<QuarraAcl::AclComplaint> &complaints, bool all );
std::string wrongText( const std::vector<QuarraAcl::AclComplaint> &complaints, bool all );

// "complaints" of a document.
QuarraLab::JsonOut complaintsJson( const std::vector<QuarraAcl::AclComplaint> &complaints );

} // namespace QuarraTool
