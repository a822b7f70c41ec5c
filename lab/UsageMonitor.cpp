#include <fmt/format.h>

#include "lab/TextFile.h"
#include "lab/Usage.h"

// Usage as monitoring systems read it.
namespace QuarraLab {
namespace {

Health healthOf( const Level &level, double warnPercent, double critPercent ) {
   if ( level.percent() >= critPercent ) {
      return Health::critical;
   }
   return level.percent() >= warnPercent ? Health::warning : Health::ok;
}

std::string_view wordOf( Health health ) {
   switch ( health ) {
   case Health::ok:
      return "OK";
   case Health::warning:
      return "WARNING";
   case Health::critical:
      return "CRITICAL";
   case Health::unknown:
      break;
   }
   return "UNKNOWN";
}

// 'group 16'=12.5%;70;90;0;100
std::string perfData( const Level &level, double warnPercent, double critPercent ) {
   return fmt::format( "'{}'={:.1f}%;{:g};{:g};0;100", level.name, level.percent(), warnPercent,
                       critPercent );
}

// A label's value: a backslash, a quote and a line's end are written with a backslash, and these three are
// all that the format knows of. What else terminals obey, and what is no UTF-8, becomes the text that reports
// have for it.
std::string labelValue( std::string_view text ) {
   std::string escaped;
   while ( !text.empty() ) {
      const auto line = text.substr( 0, text.find( '\n' ) );
      for ( const char c : oneLine( std::string( line ) ) ) {
         escaped += c == '"' || c == '\\' ? "\\" : "";
         escaped += c;
      }
      escaped += line.size() < text.size() ? "\\n" : "";
      text.remove_prefix( std::min( line.size() + 1, text.size() ) );
   }
   return escaped;
}

// One metric: its description, then a line for each label set.
class Metric {
 public:
   Metric( std::string &text, std::string_view name, std::string_view help ) : text_( text ), name_( name ) {
      text_ += fmt::format( "# HELP {} {}\n# TYPE {} gauge\n", name_, help, name_ );
   }
   void value( const std::string &labels, U64 value ) {
      text_ += fmt::format( "{}{{{}}} {}\n", name_, labels, value );
   }

 private:
   std::string &text_;
   std::string name_;
};

} // namespace

Monitoring monitor( const std::vector<Level> &levels, double warnPercent, double critPercent ) {
   Health worst = Health::ok;
   std::string notes; // the fullest first would hide which others are bad, so all that are bad are named
   std::string perf;
   const Level *fullest = nullptr;
   for ( const auto &level : levels ) {
      const auto health = healthOf( level, warnPercent, critPercent );
      worst = std::max( worst, health );
      if ( health != Health::ok ) {
         notes += fmt::format( "{}{} {:.0f}% ({} of {})", notes.empty() ? "" : ", ", level.name,
                               level.percent(), level.used, level.size );
      }
      perf += " " + perfData( level, warnPercent, critPercent );
      if ( !fullest || level.percent() > fullest->percent() ) {
         fullest = &level;
      }
   }
   if ( !fullest ) {
      return { Health::unknown, "QUARRA-TCAM UNKNOWN - the chip has no class-ID space" };
   }
   if ( notes.empty() ) {
      notes = fmt::format( "fullest: {} {:.0f}% ({} of {})", fullest->name, fullest->percent(), fullest->used,
                           fullest->size );
   }
   return { worst, fmt::format( "QUARRA-TCAM {} - {} |{}", wordOf( worst ), notes, perf ) };
}

std::string prometheusText( const Switch &theSwitch, const Usage &usage ) {
   const auto common =
      fmt::format( "variant=\"{}\",chip=\"{}\"", labelValue( theSwitch.agent().variant().name ),
                   labelValue( theSwitch.agent().chip().profile ) );
   std::string text;
   struct SpaceColumn {
      std::string_view name, help;
      U32 ( *value )( const SpaceUsage & );
   };
   constexpr SpaceColumn spaceColumns[] = {
      { "quarra_tcam_space_bits", "Bits of the class-ID space.",
        []( const SpaceUsage &space ) { return space.space.size; } },
      { "quarra_tcam_space_bits_used", "Bits of the class-ID space that are reserved.",
        []( const SpaceUsage &space ) { return space.used; } },
      { "quarra_tcam_space_largest_free_run_bits", "Longest run of adjacent free bits.",
        []( const SpaceUsage &space ) { return space.largestFreeRun; } },
   };
   for ( const auto &column : spaceColumns ) {
      Metric metric( text, column.name, column.help );
      for ( const auto &space : usage.spaces ) {
         metric.value( fmt::format( "{},space=\"{}\"", common, stringValue( space.space.type ) ),
                       column.value( space ) );
      }
   }
   struct GroupColumn {
      std::string_view name, help;
      U32 ( *value )( const GroupUsage & );
   };
   constexpr GroupColumn groupColumns[] = {
      { "quarra_tcam_group_class_ids", "Class IDs that the TCAM group has lent.",
        []( const GroupUsage &group ) { return group.classIdsLent; } },
      { "quarra_tcam_group_entries", "TCAM entries of the group.",
        []( const GroupUsage &group ) { return group.entries; } },
      { "quarra_tcam_group_further_port_sets", "Different new port sets that the group can still take.",
        []( const GroupUsage &group ) { return group.furtherPortSets; } },
   };
   for ( const auto &column : groupColumns ) {
      Metric metric( text, column.name, column.help );
      for ( const auto &group : usage.groups ) {
         metric.value( fmt::format( "{},group=\"{}\",space=\"{}\"", common, group.group.value(),
                                    stringValue( group.type ) ),
                       column.value( group ) );
      }
   }
   Metric tables( text, "quarra_tcam_table_entries", "TCAM entries of the ACL table." );
   for ( const auto &table : usage.tables ) {
      tables.value( fmt::format( "{},group=\"{}\",table=\"{}\"", common, table.group.value(),
                                 labelValue( table.table ) ),
                    table.entries );
   }
   Metric classIds( text, "quarra_tcam_table_class_ids", "Class IDs behind the entries of the ACL table." );
   for ( const auto &table : usage.tables ) {
      classIds.value( fmt::format( "{},group=\"{}\",table=\"{}\"", common, table.group.value(),
                                   labelValue( table.table ) ),
                      table.classIds );
   }
   return text;
}

} // namespace QuarraLab
