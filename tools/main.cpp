#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/Version.h"
#include "acl/Complaints.h"
#include "agent/StoreRefused.h"
#include "lab/TextFile.h"
#include "tools/Command.h"
#include "tools/CommonOptions.h"
#include "tools/Nearest.h"

namespace {

using namespace QuarraTool;

const Command *const commands[] = {
   &applyCommand,   &planCommand,   &batchCommand, &checkCommand,  &dumpCommand,   &whyCommand,
   &whoCommand,     &usageCommand,  &diffCommand,  &auditCommand,  &repairCommand, &switchCommand,
   &restartCommand, &damageCommand, &soakCommand,  &groupsCommand, &chipsCommand,
};

constexpr auto about =
   "Class IDs for TCAM entries, on a simulated switch chip.\n\n"
   "A class ID is a short value that a switch port carries; a TCAM entry matches the value instead of a "
   "bitmap of\n"
   "ports. This command shows what a library of class IDs makes of your ACLs: which entries share a class "
   "ID, which\n"
   "bits and ports it takes, whether everything fits, and whether every entry matches exactly its ports.\n";

constexpr auto examples =
   "Examples:\n"
   "  quarra-tcam apply config_db.json                 install all ACL rules, show and check the result\n"
   "  quarra-tcam apply acl.json --map L3=16 -p         other TCAM group for L3 tables, result as JSON\n"
   "  quarra-tcam plan --from acl.json patch.json       what a change does, before it is made\n"
   "  echo '{\"op\":\"install\",\"group\":13,\"entry\":1,\"ports\":[1,2]}' | quarra-tcam batch -\n"
   "  quarra-tcam --trace QuarraTcamPortsManager/1-3 apply acl.json     what the library does, step by "
   "step\n\n"
   "Exit codes: 0 all is well, and all output was written; 1 something does not fit, does not match or did\n"
   "not happen; 2 bad input or options, nothing applied; 3 of plan: it fits, but not without wrong matches "
   "on\n"
   "the way, or only after a reload; 4 standard output could not be written; 5 the switch that lasts cannot "
   "be\n"
   "used, or did not take a write.\n";

// Traces quote names of the input, which may hold what a terminal obeys.
class ErrorTrace : public Nodra::TraceSink {
 public:
   void line( const Nodra::TraceHandle &handle, unsigned level, const std::string &text ) override {
      std::cerr << fmt::format( "{}/{} {}\n", handle.name(), level, oneLine( text ) );
   }
};

void complain( const std::string &message ) {
   std::cerr << "quarra-tcam: " << messageLine( message ) << "\n";
}

// The first of what may be many.
std::vector<std::string> some( std::vector<std::string> messages ) {
   constexpr std::size_t most = 100;
   if ( messages.size() > most ) {
      const auto more = fmt::format( "and {} more", messages.size() - most );
      messages.resize( most );
      messages.push_back( more );
   }
   return messages;
}

// What is wrong with the words of the command line.
class UsageError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// The platform could not read QUARRA_TRACE when it was loaded, and said so.
struct ToldAlready {};

class CommandLine {
 public:
   CommandLine();
   int run( int argc, char **argv, Output &out );

 private:
   void parse( int argc, char **argv );
   void checkWords() const; // throws UsageError for words that are not known
   [[noreturn]] void refuseOption( const std::string &option, const Command *command ) const;
   void checkCommonOptions() const;
   void checkTraceLevels() const;
   int refused( const std::vector<std::string> &words, const std::vector<std::string> &problems, int code,
                Output &out ) const; // tells it, and gives the exit code
   const Command *chosen() const;
   std::string shortHelp() const;

   GlobalOptions global_;
   CLI::App app_{ about, "quarra-tcam" };
   std::vector<Command::Run> runs_; // of the commands, in their order
};

CommandLine::CommandLine() {
   app_.footer( examples );
   app_.set_version_flag( "-V,--version", "quarra-tcam " QUARRA_TCAM_PORTS_VERSION );
   app_.require_subcommand( 1 );
   for ( const auto &row : commonOptions() ) {
      addCommonOption( app_, row, global_ );
   }
   for ( const auto *command : commands ) {
      auto *app = app_.add_subcommand( command->name, command->description );
      runs_.push_back( command->options( *app ) );
      for ( const auto &row : commonOptions() ) {
         if ( std::ranges::count( command->takes, row.option ) ) {
            addCommonOption( *app, row, global_ );
         }
      }
   }
}

const Command *CommandLine::chosen() const {
   const auto parsed = app_.get_subcommands();
   const auto *const end = std::end( commands );
   const auto *const found = std::find_if( std::begin( commands ), end, [ & ]( const auto *command ) {
      return !parsed.empty() && parsed.front()->get_name() == command->name;
   } );
   return found == end ? nullptr : *found;
}

std::string CommandLine::shortHelp() const {
   std::string text = "usage: quarra-tcam [OPTIONS] COMMAND ...\n\n";
   for ( const auto *command : commands ) {
      text += fmt::format( "  {:<8}{}\n", command->name, command->description );
   }
   return text + "\n`quarra-tcam --help` and `quarra-tcam COMMAND --help` tell the rest.\n";
}

std::vector<std::string> longOptions( const CLI::App &app ) {
   std::vector<std::string> names;
   for ( const auto *option : app.get_options() ) {
      for ( const auto &name : option->get_lnames() ) {
         names.push_back( "--" + name );
      }
   }
   return names;
}

void CommandLine::refuseOption( const std::string &option, const Command *command ) const {
   const auto name = option.substr( 0, option.find( '=' ) );
   const auto isOptionOf = [ & ]( const CLI::App *app ) { return app->get_option_no_throw( name ); };
   const auto all = app_.get_subcommands( []( const CLI::App * ) { return true; } );
   if ( command && ( isOptionOf( &app_ ) || std::ranges::any_of( all, isOptionOf ) ) ) {
      throw UsageError( fmt::format( "{} does not use {}", command->name, name ) );
   }
   const auto *app = command ? app_.get_subcommand( command->name ) : &app_;
   throw UsageError( fmt::format( "{}unknown option {}{}",
                                  command ? std::string( command->name ) + ": " : std::string(), name,
                                  suggestion( name, longOptions( *app ) ) ) );
}

void CommandLine::checkWords() const {
   const auto *command = chosen();
   std::vector<std::string> words = app_.remaining();
   const Command *owner = nullptr; // of the words, if it is a command
   if ( words.empty() && command ) {
      words = app_.get_subcommand( command->name )->remaining();
      owner = command;
   }
   if ( words.empty() ) {
      return;
   }
   const auto option =
      std::ranges::find_if( words, []( const auto &word ) { return word.size() > 1 && word[ 0 ] == '-'; } );
   if ( option != words.end() && ( owner || option == words.begin() ) ) {
      refuseOption( *option, owner );
   }
   if ( owner ) {
      throw UsageError( fmt::format( "{}: unexpected argument \"{}\"", owner->name, words.front() ) );
   }
   std::vector<std::string> names;
   std::string listed;
   for ( const auto *known : commands ) {
      names.emplace_back( known->name );
      listed += ( listed.empty() ? "" : ", " ) + names.back();
   }
   const auto near = suggestion( words.front(), names );
   throw UsageError( fmt::format( "unknown command \"{}\"{}", words.front(),
                                  near.empty() ? ": expected one of " + listed : near ) );
}

void CommandLine::parse( int argc, char **argv ) {
   try {
      app_.parse( argc, argv );
   } catch ( const CLI::Success & ) {
      throw; // asked for help
   } catch ( const CLI::ParseError &error ) {
      checkWords();
      const auto *command = chosen();
      throw UsageError( ( command ? std::string( command->name ) + ": " : std::string() ) + error.what() );
   }
}

// Common options are added to the program, too, for any command: what the chosen one makes of them is seen
// here.
void CommandLine::checkCommonOptions() const {
   const auto &command = *chosen();
   const auto *app = app_.get_subcommand( command.name );
   if ( ( global_.sync || global_.cold ) && !global_.switchDir ) {
      throw UsageError( std::string( global_.sync ? "--sync" : "--cold" ) +
                        " is about a switch that lasts: --switch DIR is missing" );
   }
   if ( global_.switchDir && global_.switchDir->empty() ) {
      throw UsageError( "--switch: expected a directory, got an empty name" );
   }
   for ( const auto &row : commonOptions() ) {
      const auto before = app_.get_option( row.longName() )->count();
      if ( !std::ranges::count( command.takes, row.option ) ) {
         if ( before ) {
            throw UsageError( fmt::format( "{} does not use {}", command.name, row.longName() ) );
         }
      } else if ( !row.severalTimes && before + app->get_option( row.longName() )->count() > 1 ) {
         throw UsageError( row.longName() + " is given more than once" );
      }
   }
}

void CommandLine::checkTraceLevels() const {
   const auto refuse = []( const std::string &place, const std::string &problem ) {
      if ( !problem.empty() ) {
         throw UsageError( place + ": " + problem );
      }
   };
   if ( const char *environment = std::getenv( "QUARRA_TRACE" ) ) {
      if ( !Nodra::traceLevelsIs( environment, true ).empty() ) {
         throw ToldAlready();
      }
      refuse( "QUARRA_TRACE", Nodra::traceLevelsIs( environment ) );
   }
   for ( const auto &setting : global_.trace ) {
      refuse( "--trace", Nodra::traceLevelsIs( setting ) );
   }
}

int CommandLine::run( int argc, char **argv, Output &out ) {
   if ( argc <= 1 ) {
      std::cerr << shortHelp();
      return exitBadInput;
   }
   std::vector<std::string> problems;
   int code = exitBadInput;
   try {
      parse( argc, argv );
      checkCommonOptions();
      checkTraceLevels();
      const auto *const place = std::ranges::find( commands, chosen() );
      return runs_[ static_cast<std::size_t>( place - std::begin( commands ) ) ]( global_, out );
   } catch ( const CLI::CallForVersion &versionText ) {
      out.print( std::string( versionText.what() ) + "\n" );
      return exitGood;
   } catch ( const CLI::Success & ) {
      out.print( app_.help() );
      return exitGood;
   } catch ( const UsageError &error ) {
      problems = { std::string( error.what() ) + " (--help explains)" };
   } catch ( const ToldAlready & ) {
   } catch ( const QuarraAcl::AclRefused &refused ) {
      problems = QuarraAcl::complaintLines( refused.complaints() );
   } catch ( const InputErrors &errors ) {
      problems = some( errors.lines() );
   } catch ( const InputError &error ) {
      problems = { error.what() };
   } catch ( const QuarraAgent::StoreRefused &refused ) {
      problems = { refused.code() + ": " + refused.what() };
      code = exitNoSwitch;
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      problems = { refused.code() + ": " + refused.what() };
   } catch ( const std::bad_alloc & ) {
      problems = { "not enough memory" };
   }
   return refused( { argv + 1, argv + argc }, problems, code, out );
}

int CommandLine::refused( const std::vector<std::string> &words, const std::vector<std::string> &problems,
                          int code, Output &out ) const {
   if ( const auto *command = chosen(); command && command->refusal ) {
      const auto first = problems.empty() ? "QUARRA_TRACE cannot be read" : problems.front();
      if ( const auto told = command->refusal( words, first, out ) ) {
         return *told;
      }
   }
   for ( const auto &problem : problems ) {
      complain( problem );
   }
   return code;
}

// A descriptor that is closed would be given to the next file that is opened, and what is printed would go
// there. Something that fails takes its place.
void occupyClosedDescriptors() {
   for ( const int descriptor : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } ) {
      if ( fcntl( descriptor, F_GETFD ) < 0 && errno == EBADF ) {
         open( "/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY );
      }
   }
}

} // namespace

int main( int argc, char **argv ) {
   occupyClosedDescriptors();
   static ErrorTrace trace; // outlives all that traces
   Nodra::traceSinkIs( &trace );
   const auto pipeSignal =
      std::signal( SIGPIPE, SIG_IGN ); // a write to a closed pipe is an error like others
   try {
      Output out( STDOUT_FILENO );
      const int code = CommandLine().run( argc, argv, out );
      out.close();
      return code;
   } catch ( const OutputError &error ) {
      if ( error.readerIsGone() ) {
         std::signal( SIGPIPE, pipeSignal );
         std::raise( SIGPIPE ); // ends the process as it ends others, unless whoever started it ignores it
      } else {
         complain( error.what() );
      }
   }
   return exitNotWritten;
}
