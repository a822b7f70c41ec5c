#pragma once

namespace QuarraSoak {

// While it lives, SIGINT, SIGTERM and SIGHUP are noted and do not end the process, those excepted that are
// ignored already; and children can be waited for, whatever SIGCHLD was set to. One at a time.
class Interrupts {
 public:
   Interrupts();
   Interrupts( const Interrupts & ) = delete;
   Interrupts &operator=( const Interrupts & ) = delete;
   ~Interrupts();

   // The number of the last such signal, or 0.
   static int seen();
};

} // namespace QuarraSoak
