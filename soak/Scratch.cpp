#include "soak/Scratch.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace QuarraSoak {

Scratch::Scratch() {
   constexpr auto memory = "/dev/shm";
   const char *const chosen = std::getenv( "TMPDIR" );
   const std::string base = chosen && *chosen ? chosen : access( memory, W_OK ) == 0 ? memory : "/tmp";
   path_ = base + "/quarra-soak-XXXXXX";
   if ( !mkdtemp( path_.data() ) ) {
      throw std::system_error( errno, std::generic_category(), "directory " + base );
   }
}

Scratch::~Scratch() {
   std::error_code ignored;
   std::filesystem::remove_all( path_, ignored );
}

} // namespace QuarraSoak
