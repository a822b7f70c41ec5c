#pragma once

#include <map>
#include <utility>

#include "Nodra/Containers.h"
#include "Nodra/Ptr.h"
#include "Nodra/Types.h"

// Attributes of records and nodes. A record reads like a table, one line an attribute; the macros only paste
// the accessor names, the templates below hold the behaviour. For an attribute `x` they declare, as far as
// its kind has it:
//
//    x()         reads the attribute, or the collection  xIs( ... )   sets, or inserts and returns the member
//    x( key )    reads a member                          xDel( key )  removes a member
//    xHas( key ) tests for a member                      xDelAll()    removes all
//    xs()        number of members
//
// For example ATTR( size, U8 ); expands to
//
//  public:
//    const U8 &size() const { return size_; }
//    void sizeIs( U8 value ) { size_ = std::move( value ); }
//  private:
//    U8 size_{}
//
// Reading a member that is not there gives a null pointer, or a default value where members are plain values.
namespace Nodra {

template <typename Map, typename Key>
const typename Map::mapped_type &memberOf( const Map &map, const Key &key ) {
   static const typename Map::mapped_type none{};
   const auto item = map.find( key );
   return item == map.end() ? none : item->second;
}

// The value maps behind ATTR_VALUES (ordered by key) and ATTR_HASH_VALUES (hashed, walked in order of
// insertion).
template <typename Key, typename Value>
class ValueMap : public std::map<Key, Value> {
 public:
   Value &put( const Key &key, Value value ) {
      return this->insert_or_assign( key, std::move( value ) ).first->second;
   }
   Types::U32 count() const { return static_cast<Types::U32>( this->size() ); }
};

template <typename T>
struct HashOf {
   std::size_t operator()( const T &value ) const { return value.hash(); }
};
template <typename T>
requires( std::is_arithmetic_v<T> || std::is_enum_v<T> ) struct HashOf<T> {
   std::size_t operator()( T value ) const { return static_cast<std::size_t>( value ); }
};

template <typename Key, typename Value>
class HashedValueMap : public HashMap<Key, Value, HashOf<Key>> {
 public:
   using mapped_type = Value;

   Value &put( const Key &key, Value value ) {
      if ( const auto item = this->find( key ); item != this->end() ) {
         return item->second = std::move( value );
      }
      return this->add( key, std::move( value ) )->second;
   }
   Types::U32 count() const { return this->size(); }
};

// Maps of records: asking for a member that is not there makes it, with its key as the only argument.
template <template <typename, typename> typename Map, typename Key, typename Record>
class RecordMap : public Map<Key, Ptr<Record>> {
 public:
   const Ptr<Record> &make( const Key &key ) {
      const auto item = this->find( key );
      return item == this->end() ? this->put( key, std::make_shared<Record>( key ) ) : item->second;
   }
};

} // namespace Nodra

// One line an accessor.
// clang-format off

// A plain value.
#define ATTR( name, ... )                                                                                    \
 public:                                                                                                     \
   const __VA_ARGS__ &name() const { return name##_; }                                                       \
   void name##Is( __VA_ARGS__ value ) { name##_ = std::move( value ); }                                      \
                                                                                                             \
 private:                                                                                                    \
   __VA_ARGS__ name##_ {}

// The key of a record: given to the constructor, never changed.
#define ATTR_KEY( name, ... )                                                                                \
 public:                                                                                                     \
   const __VA_ARGS__ &name() const { return name##_; }                                                       \
                                                                                                             \
 private:                                                                                                    \
   const __VA_ARGS__ name##_

// A record owned by this one, or null: nameIs() makes a new one.
#define ATTR_PTR( name, ... )                                                                                \
 public:                                                                                                     \
   const Nodra::Ptr<__VA_ARGS__> &name() const { return name##_; }                                           \
   const Nodra::Ptr<__VA_ARGS__> &name##Is() { return name##_ = std::make_shared<__VA_ARGS__>(); }           \
   void name##Del() { name##_.reset(); }                                                                     \
                                                                                                             \
 private:                                                                                                    \
   Nodra::Ptr<__VA_ARGS__> name##_

// A set, walked in ascending order.
#define ATTR_SET( name, ... )                                                                                \
 public:                                                                                                     \
   const Nodra::FlatSet<__VA_ARGS__> &name() const { return name##_; }                                       \
   Nodra::Types::U32 name##s() const { return name##_.size(); }                                              \
   bool name##Has( const __VA_ARGS__ &value ) const { return name##_.has( value ); }                         \
   bool name##Is( const __VA_ARGS__ &value ) { return name##_.insert( value ); }                             \
   bool name##Del( const __VA_ARGS__ &value ) { return name##_.erase( value ); }                             \
   void name##DelAll() { name##_.clear(); }                                                                  \
                                                                                                             \
 private:                                                                                                    \
   Nodra::FlatSet<__VA_ARGS__> name##_

// A queue.
#define ATTR_QUEUE( name, ... )                                                                              \
 public:                                                                                                     \
   const Nodra::Queue<__VA_ARGS__> &name() const { return name##_; }                                         \
   Nodra::Types::U32 name##s() const { return name##_.size(); }                                              \
   void name##Enq( __VA_ARGS__ value ) { name##_.enq( value ); }                                             \
   __VA_ARGS__ name##Deq() { return name##_.deq(); }                                                         \
   __VA_ARGS__ name##Front() const { return name##_.first(); }                                               \
   __VA_ARGS__ name##Back() const { return name##_.last(); }                                                 \
   void name##DelAll() { name##_.clear(); }                                                                  \
                                                                                                             \
 private:                                                                                                    \
   Nodra::Queue<__VA_ARGS__> name##_

// The accessors that every map has; ATTR_… below add how a member gets in.
#define ATTR_MAP_ACCESSORS( name, Key, ... )                                                                 \
 public:                                                                                                     \
   const __VA_ARGS__ &name() const { return name##_; }                                                       \
   const auto &name( const Key &key ) const { return Nodra::memberOf( name##_, key ); }                      \
   bool name##Has( const Key &key ) const { return name##_.find( key ) != name##_.end(); }                   \
   Nodra::Types::U32 name##s() const { return name##_.count(); }                                             \
   bool name##Del( const Key &key ) { return name##_.erase( key ) != 0; }                                    \
   void name##DelAll() { name##_.clear(); }                                                                  \
                                                                                                             \
 private:                                                                                                    \
   __VA_ARGS__ name##_;

#define ATTR_VALUE_MAP( name, Key, Value, Map )                                                              \
   ATTR_MAP_ACCESSORS( name, Key, Nodra::Map<Key, Value> )                                                   \
 public:                                                                                                     \
   void name##Is( const Key &key, Value value ) { name##_.put( key, std::move( value ) ); }                  \
   static_assert( true )

#define ATTR_RECORD_MAP( name, Key, Record, Map )                                                            \
   ATTR_MAP_ACCESSORS( name, Key, Nodra::RecordMap<Nodra::Map, Key, Record> )                                \
 public:                                                                                                     \
   const Nodra::Ptr<Record> &name##Is( const Key &key ) { return name##_.make( key ); }                      \
   static_assert( true )

// Maps of plain values: ordered by key, or hashed and walked in order of insertion.
#define ATTR_VALUES( name, Key, Value ) ATTR_VALUE_MAP( name, Key, Value, ValueMap )
#define ATTR_HASH_VALUES( name, Key, Value ) ATTR_VALUE_MAP( name, Key, Value, HashedValueMap )

// Maps of records, held by pointer: ordered by key, or hashed and walked in order of insertion.
#define ATTR_MAP( name, Key, Record ) ATTR_RECORD_MAP( name, Key, Record, ValueMap )
#define ATTR_HASH_MAP( name, Key, Record ) ATTR_RECORD_MAP( name, Key, Record, HashedValueMap )
// clang-format on
