#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <list>
#include <unordered_set>
#include <utility>
#include <vector>

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
   void clear() { items_.clear(); }
   bool empty() const { return items_.empty(); }
   Types::U32 size() const { return static_cast<Types::U32>( items_.size() ); }
   const_iterator begin() const { return items_.begin(); }
   const_iterator end() const { return items_.end(); }
   const T &front() const { return items_.front(); }

   bool operator==( const FlatSet & ) const = default;

 private:
   std::vector<T> items_;
};

// A hash map that is walked in the order of insertion. Elements never move: a reference stays good until its
// element is erased. Type `Hash` gives a 32-bit or wider hash of a key.
template <typename Key, typename Value, typename Hash>
class HashMap {
 public:
   using Item = std::pair<const Key, Value>;
   using List = std::list<Item>;
   using iterator = typename List::iterator;
   using const_iterator = typename List::const_iterator;

   HashMap() = default;
   HashMap( const HashMap & ) = delete;
   HashMap &operator=( const HashMap & ) = delete;

   iterator find( const Key &key ) {
      const auto place = index_.find( key );
      return place == index_.end() ? items_.end() : *place;
   }
   const_iterator find( const Key &key ) const {
      const auto place = index_.find( key );
      return place == index_.end() ? items_.end() : const_iterator( *place );
   }
   bool has( const Key &key ) const { return index_.contains( key ); }

   // Adds behind the last element; the key must be absent.
   iterator add( const Key &key, Value value ) {
      const auto place = items_.emplace( items_.end(), key, std::move( value ) );
      index_.insert( place );
      return place;
   }

   bool erase( const Key &key ) {
      const auto place = index_.find( key );
      if ( place == index_.end() ) {
         return false;
      }
      const auto item = *place;
      index_.erase( place );
      items_.erase( item );
      return true;
   }

   void clear() {
      index_.clear();
      items_.clear();
   }

   bool empty() const { return items_.empty(); }
   Types::U32 size() const { return static_cast<Types::U32>( items_.size() ); }
   iterator begin() { return items_.begin(); }
   iterator end() { return items_.end(); }
   const_iterator begin() const { return items_.begin(); }
   const_iterator end() const { return items_.end(); }

 private:
   // The index holds places in the list and is asked by key, so a key is stored once.
   struct HashOf {
      using is_transparent = void;
      std::size_t operator()( const Key &key ) const { return Hash()( key ); }
      std::size_t operator()( const iterator &item ) const { return Hash()( item->first ); }
   };
   struct Same {
      using is_transparent = void;
      bool operator()( const iterator &a, const iterator &b ) const { return a->first == b->first; }
      bool operator()( const Key &key, const iterator &item ) const { return key == item->first; }
      bool operator()( const iterator &item, const Key &key ) const { return key == item->first; }
   };

   List items_;
   std::unordered_set<iterator, HashOf, Same> index_;
};

} // namespace Nodra
