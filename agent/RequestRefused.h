#pragma once

#include <stdexcept>
#include <string>

#include "agent/OneLine.h"

namespace QuarraAgent {

// A request that the agent does not carry out. The code is stable, for programs; the message is for people
// and names the group, the entry, the limit and what is wrong, on one line. Everything is as it was before
// the request.
class RequestRefused : public std::runtime_error {
 public:
   RequestRefused( std::string code, const std::string &message )
      : std::runtime_error( messageLine( message ) ), code_( std::move( code ) ) {}

   const std::string &code() const { return code_; }

 private:
   std::string code_;
};

} // namespace QuarraAgent
