#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Nodra/Export.h"
#include "Nodra/Text.h"
#include "Nodra/Types.h"

// Leveled tracing. Each source file has a handle of its unit's name, with ten levels, all off at first:
//
//    static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );
//
// The environment variable QUARRA_TRACE, or traceLevelsIs, turns levels on for all handles of a name:
// "QuarraTcamPortsManager/0-3,QuarraTcamPorts/8"; "*" stands for every name. A variable that cannot be read
// is ignored, and told on standard error when the program is loaded. Main thread only.
namespace Nodra {

class NODRA_API TraceHandle {
 public:
   static constexpr unsigned maxLevel = 9;

   // `name` must outlive the process's last trace (a literal).
   explicit TraceHandle( const char *name );
   TraceHandle( const TraceHandle & ) = delete;
   TraceHandle &operator=( const TraceHandle & ) = delete;

   const char *name() const { return name_; }
   bool isOn( unsigned level ) const { return ( levels_ >> level ) & 1u; }
   void levelsIs( Types::U16 levels ) { levels_ = levels; }
   Types::U16 levels() const { return levels_; }

 private:
   const char *name_;
   Types::U16 levels_ = 0; // bit n: level n is on
};

// Turns levels on as `settings` says. Returns an empty string, or what is wrong with it (nothing has changed
// then). A name that no handle has (yet) is an error unless `ignoreUnknown`.
NODRA_API std::string traceLevelsIs( std::string_view settings, bool ignoreUnknown = false );
NODRA_API void traceLevelsDelAll();

// The names of all handles, each once, in alphabetical order.
NODRA_API std::vector<std::string> traceHandles();

// Where lines go: standard error at first.
class NODRA_API TraceSink {
 public:
   virtual ~TraceSink() = default;
   virtual void line( const TraceHandle &handle, unsigned level, const std::string &text ) = 0;
};

// Installs a sink and returns the one before; null means standard error. The caller keeps ownership.
NODRA_API TraceSink *traceSinkIs( TraceSink *sink );

// Keeps the lines in memory while it lives, for tests and tools: installs itself, and restores the sink
// before it.
class NODRA_API MemoryTrace : public TraceSink {
 public:
   struct Line {
      std::string handle;
      unsigned level;
      std::string text;
   };

   MemoryTrace();
   ~MemoryTrace() override;
   MemoryTrace( const MemoryTrace & ) = delete;
   MemoryTrace &operator=( const MemoryTrace & ) = delete;

   void line( const TraceHandle &handle, unsigned level, const std::string &text ) override;
   const std::vector<Line> &lines() const { return lines_; }
   bool has( std::string_view text ) const; // a line whose text is exactly this

 private:
   TraceSink *before_;
   std::vector<Line> lines_;
};

// Appends lines to a file while it lives; installs and restores like MemoryTrace.
class NODRA_API FileTrace : public TraceSink {
 public:
   explicit FileTrace( const std::string &path ); // throws std::runtime_error when the file cannot be opened
   ~FileTrace() override;
   FileTrace( const FileTrace & ) = delete;
   FileTrace &operator=( const FileTrace & ) = delete;

   void line( const TraceHandle &handle, unsigned level, const std::string &text ) override;

 private:
   std::FILE *file_;
   TraceSink *before_;
};

NODRA_API void traceLine( const TraceHandle &handle, unsigned level, const std::string &text );

} // namespace Nodra

// Traces at `level`; the text, a chain of values joined by <<, is only built when the level is on.
#ifndef NODRA_WITHOUT_TRACING
#define NODRA_TRACE( handle, level, text )                                                                   \
   if ( !( handle ).isOn( level ) ) [[likely]] {                                                             \
   } else                                                                                                    \
      Nodra::traceLine( handle, level, ( Nodra::Text() << text ).string() )
#else // to measure what disabled lines cost
#define NODRA_TRACE( handle, level, text )                                                                   \
   if ( true ) {                                                                                             \
   } else                                                                                                    \
      Nodra::traceLine( handle, level, ( Nodra::Text() << text ).string() )
#endif

// The same through the handle of the source file, `unitTrace`.
#define TRACE( level, text ) NODRA_TRACE( unitTrace, level, text )
