#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "Nodra/HashMap.h"
#include "Nodra/Types.h"

// Containers behind the attributes of records. Their iteration order depends on the contents or on the order
// of insertion, never on hashes or addresses, so the same inputs give the same outputs on every compiler.
namespace Nodra {

// A set kept as a sorted vector: contiguous, so that walking, hashing and comparing large port sets stay
// cheap.
template <typename T>
class FlatSet {
 public:
   using const_iterator = typename std::vector<T>::const_iterator;

   bool insert( const T &value ) {
      if ( items_.empty() || items_.back() < value ) {
         items_.push_back( value );
         return true;
      }
      const auto place = std::lower_bound( items_.begin(), items_.end(), value );
      if ( *place == value ) {
         return false;
      }
      items_.insert( place, value );
      return true;
   }

   bool erase( const T &value ) {
      const auto place = std::lower_bound( items_.begin(), items_.end(), value );
      if ( place == items_.end() || !( *place == value ) ) {
         return false;
      }
      items_.erase( place );
      return true;
   }

   bool has( const T &value ) const { return std::binary_search( items_.begin(), items_.end(), value ); }
   // Whether some item is in both.
   bool intersects( const FlatSet &other ) const {
      auto mine = begin();
      auto theirs = other.begin();
      while ( mine != end() && theirs != other.end() ) {
         if ( *mine == *theirs ) {
            return true;
         }
         *mine < *theirs ? ++mine : ++theirs;
      }
      return false;
   }
   void clear() { items_.clear(); }
   bool empty() const { return items_.empty(); }
   Types::U32 size() const { return static_cast<Types::U32>( items_.size() ); }
   const_iterator begin() const { return items_.begin(); }
   const_iterator end() const { return items_.end(); }
   const T &front() const { return items_.front(); }

   // Items without padding compare as one run of bytes.
   bool operator==( const FlatSet &other ) const {
      if constexpr ( std::has_unique_object_representations_v<T> ) {
         return items_.size() == other.items_.size() &&
                ( items_.empty() ||
                  std::memcmp( items_.data(), other.items_.data(), items_.size() * sizeof( T ) ) == 0 );
      } else {
         return items_ == other.items_;
      }
   }

 private:
   std::vector<T> items_;
};

// First in, first out; reading an empty queue gives a default value and changes nothing.
template <typename T>
class Queue {
 public:
   using const_iterator = typename std::vector<T>::const_iterator;

   void enq( T value ) {
      constexpr std::size_t fewest = 8;
      if ( items_.empty() ) {
         items_.reserve( fewest );
      }
      items_.push_back( value );
   }
   // Taken items are dropped when they outnumber those that are left.
   T deq() {
      const T value = first();
      if ( !empty() && 2 * ++taken_ > items_.size() ) {
         items_.erase( items_.begin(), begin() );
         taken_ = 0;
      }
      return value;
   }
   T first() const { return empty() ? T() : *begin(); }
   T last() const { return empty() ? T() : items_.back(); }
   void clear() {
      items_.clear();
      taken_ = 0;
   }
   bool empty() const { return size() == 0; }
   Types::U32 size() const { return static_cast<Types::U32>( items_.size() - taken_ ); }
   const_iterator begin() const { return items_.begin() + static_cast<std::ptrdiff_t>( taken_ ); }
   const_iterator end() const { return items_.end(); }

 private:
   std::vector<T> items_;
   std::size_t taken_ = 0; // from the front
};

} // namespace Nodra
