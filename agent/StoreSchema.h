#pragma once

#include <string>

// The tables of the store, version 1. Every row ends with the sum over its other columns. Ports are four
// bytes each, the low byte first: the port's number in the low half, its module in the high one.
namespace QuarraAgent::Schema {

struct Table {
   const char *name;
   const char *columns; // as CREATE TABLE takes them
   const char *keys;    // how the table is ordered, and a row is found
   int values;          // columns, without the sum
};

inline constexpr Table meta = { "meta", "name TEXT PRIMARY KEY, value", "name", 2 };
inline constexpr Table chipPort = { "chipPort", "ord INTEGER PRIMARY KEY, intf, module, port, cpu", "ord",
                                    5 };
inline constexpr Table startUp = { "startUp", "ord INTEGER PRIMARY KEY, line", "ord", 2 };
inline constexpr Table space = { "space", "type INTEGER PRIMARY KEY, size, bits", "type", 3 };
inline constexpr Table groupStatus = { "groupStatus", "tcamGroup INTEGER PRIMARY KEY, ord, lastPool", "ord",
                                       3 };
inline constexpr Table pool = { "pool",
                                "tcamGroup, pool, baseOffset, size, free, PRIMARY KEY( tcamGroup, pool )",
                                "tcamGroup, pool", 5 };
inline constexpr Table request = {
   "request",
   "tcamGroup, ord, name, number, secondName, classId, pool, startUp, ports, ethernet, "
   "PRIMARY KEY( tcamGroup, ord )",
   "tcamGroup, ord", 10
};
inline constexpr Table indexed = { "indexed",
                                   "tcamGroup, bucket, ord, name, number, secondName, ports, ethernet, "
                                   "PRIMARY KEY( tcamGroup, bucket, ord )",
                                   "tcamGroup, bucket, ord", 8 };
inline constexpr Table portWord = { "portWord",
                                    "ord INTEGER PRIMARY KEY, chip, module, port, portTable, value", "ord",
                                    6 };
inline constexpr Table bit = { "bit", "bit INTEGER PRIMARY KEY, ports, ethernet", "bit", 3 };
inline constexpr Table entry = {
   "entry",
   "entry INTEGER PRIMARY KEY, ord, request, tcamGroup, ports, ethernet, feature, "
   "rule, label",
   "entry", 9
};
inline constexpr Table inFlight = {
   "inFlight",
   "one INTEGER PRIMARY KEY, removal, entry, tcamGroup, ports, ethernet, feature, "
   "rule, label",
   "one", 9
};

inline constexpr const Table *records[] = { &space,    &groupStatus, &pool,  &request, &indexed,
                                            &portWord, &bit,         &entry, &inFlight };
inline constexpr const Table *identity[] = { &meta, &chipPort, &startUp };

// "meta": a number or text by name. Its rows are not all there from the start.
std::string create( const Table &table );
std::string put( const Table &table );
std::string erase( const Table &table, const char *key ); // of the rows with one value of `key`, or of more
std::string all( const Table &table );

} // namespace QuarraAgent::Schema
