#include "Nodra/Trace.h"

#include <algorithm>
#include <cerrno> // program_invocation_short_name
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Nodra {
namespace {

using Types::U16;

struct Setting {
   std::string handle;
   U16 levels;
};

// Handles are made while libraries load, so the registry is made on first use.
std::vector<TraceHandle *> &handles() {
   static std::vector<TraceHandle *> all;
   return all;
}

TraceSink *currentSink = nullptr;

bool covers( const Setting &setting, std::string_view handle ) {
   return setting.handle == "*" || setting.handle == handle;
}

void apply( const Setting &setting, TraceHandle &handle ) {
   if ( covers( setting, handle.name() ) ) {
      handle.levelsIs( static_cast<U16>( handle.levels() | setting.levels ) );
   }
}

// "3" or "0-3" as a bit for each level; 0 when it is neither.
U16 parseLevels( std::string_view text ) {
   const auto digit = []( char c ) { return c >= '0' && c <= '9'; };
   if ( ( text.size() != 1 && text.size() != 3 ) || !digit( text.front() ) || !digit( text.back() ) ||
        ( text.size() == 3 && text[ 1 ] != '-' ) ) {
      return 0;
   }
   U16 levels = 0;
   for ( int level = text.front() - '0'; level <= text.back() - '0'; ++level ) {
      levels = static_cast<U16>( levels | ( 1u << level ) );
   }
   return levels;
}

std::string parseSettings( std::string_view text, std::vector<Setting> &settings ) {
   while ( !text.empty() ) {
      const auto item = text.substr( 0, text.find( ',' ) );
      text.remove_prefix( std::min( text.size(), item.size() + 1 ) );
      const auto slash = item.find( '/' );
      const U16 levels = slash == item.npos ? U16{ 0 } : parseLevels( item.substr( slash + 1 ) );
      if ( slash == 0 || levels == 0 ) {
         return "trace setting \"" + std::string( item ) +
                "\": expected HANDLE/LEVEL or HANDLE/FROM-TO, levels 0 to 9";
      }
      settings.push_back( { std::string( item.substr( 0, slash ) ), levels } );
   }
   return {};
}

// On one line, and nothing that a terminal obeys.
std::string printable( std::string text ) {
   std::replace_if(
      text.begin(), text.end(), []( unsigned char c ) { return c < ' ' || c >= 0x7f; }, '?' );
   return text;
}

const std::vector<Setting> &environmentSettings() {
   static const std::vector<Setting> settings = [] {
      std::vector<Setting> parsed;
      const char *value = std::getenv( "QUARRA_TRACE" );
      const std::string problem = value ? parseSettings( value, parsed ) : std::string();
      if ( !problem.empty() ) {
         std::fprintf( stderr, "%s: QUARRA_TRACE: %s\n", program_invocation_short_name,
                       printable( problem ).c_str() );
      }
      return parsed;
   }();
   return settings;
}

} // namespace

TraceHandle::TraceHandle( const char *name ) : name_( name ) {
   handles().push_back( this );
   for ( const auto &setting : environmentSettings() ) {
      apply( setting, *this );
   }
}

std::string traceLevelsIs( std::string_view text, bool ignoreUnknown ) {
   std::vector<Setting> settings;
   if ( auto problem = parseSettings( text, settings ); !problem.empty() ) {
      return problem;
   }
   for ( const auto &setting : settings ) {
      const bool known = std::any_of( handles().begin(), handles().end(), [ & ]( const auto *handle ) {
         return covers( setting, handle->name() );
      } );
      if ( !known && !ignoreUnknown ) {
         std::string names;
         for ( const auto &name : traceHandles() ) {
            names += ( names.empty() ? "" : ", " ) + name;
         }
         return "trace handle \"" + setting.handle + "\" does not exist: there are " + names + " and *";
      }
   }
   for ( const auto &setting : settings ) {
      for ( auto *handle : handles() ) {
         apply( setting, *handle );
      }
   }
   return {};
}

void traceLevelsDelAll() {
   for ( auto *handle : handles() ) {
      handle->levelsIs( 0 );
   }
}

std::vector<std::string> traceHandles() {
   std::vector<std::string> names;
   for ( const auto *handle : handles() ) {
      names.emplace_back( handle->name() );
   }
   std::sort( names.begin(), names.end() );
   names.erase( std::unique( names.begin(), names.end() ), names.end() );
   return names;
}

TraceSink *traceSinkIs( TraceSink *sink ) {
   return std::exchange( currentSink, sink );
}

void traceLine( const TraceHandle &handle, unsigned level, const std::string &text ) {
   if ( currentSink ) {
      currentSink->line( handle, level, text );
   } else {
      std::fprintf( stderr, "%s/%u %s\n", handle.name(), level, text.c_str() );
   }
}

MemoryTrace::MemoryTrace() : before_( traceSinkIs( this ) ) {}

MemoryTrace::~MemoryTrace() {
   traceSinkIs( before_ );
}

void MemoryTrace::line( const TraceHandle &handle, unsigned level, const std::string &text ) {
   lines_.push_back( { handle.name(), level, text } );
}

bool MemoryTrace::has( std::string_view text ) const {
   return std::any_of( lines_.begin(), lines_.end(),
                       [ & ]( const Line &line ) { return line.text == text; } );
}

FileTrace::FileTrace( const std::string &path )
   : file_( std::fopen( path.c_str(), "a" ) ), before_( nullptr ) {
   if ( !file_ ) {
      throw std::runtime_error( "trace file " + path + ": " + std::strerror( errno ) );
   }
   before_ = traceSinkIs( this );
}

FileTrace::~FileTrace() {
   traceSinkIs( before_ );
   std::fclose( file_ );
}

void FileTrace::line( const TraceHandle &handle, unsigned level, const std::string &text ) {
   std::fprintf( file_, "%s/%u %s\n", handle.name(), level, text.c_str() );
   std::fflush( file_ );
}

} // namespace Nodra
