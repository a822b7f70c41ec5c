#include "soak/Interrupts.h"

#include <csignal>
#include <iterator>

namespace QuarraSoak {
namespace {

volatile std::sig_atomic_t lastSignal = 0;

void note( int signal ) {
   lastSignal = signal;
}

constexpr int watched[] = { SIGINT, SIGTERM, SIGHUP, SIGCHLD };
struct sigaction before[ std::size( watched ) ];

} // namespace

Interrupts::Interrupts() {
   lastSignal = 0;
   auto *old = before;
   for ( const int signal : watched ) {
      struct sigaction action = {}; // without SA_RESTART, so that a wait ends
      action.sa_handler = signal == SIGCHLD ? SIG_DFL : note;
      sigaction( signal, nullptr, old );
      if ( signal == SIGCHLD || old->sa_handler != SIG_IGN ) {
         sigaction( signal, &action, nullptr );
      }
      ++old;
   }
}

Interrupts::~Interrupts() {
   const auto *old = before;
   for ( const int signal : watched ) {
      sigaction( signal, old++, nullptr );
   }
}

int Interrupts::seen() {
   return lastSignal;
}

} // namespace QuarraSoak
