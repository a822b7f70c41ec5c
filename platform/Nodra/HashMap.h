#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "Nodra/Types.h"

namespace Nodra {

// A hash map that is walked in the order of insertion. Elements never move: a reference stays good until its
// element is erased. Type `Hash` gives a hash of a key, of 32 bits or more; it need not be spread.
template <typename Key, typename Value, typename Hash>
class HashMap {
 public:
   using Item = std::pair<const Key, Value>;

 private:
   struct Node {
      Item item;
      Types::U64 hash;
      Node *older = nullptr;
      Node *newer = nullptr;
      Node *next = nullptr; // of the same bucket
   };

   template <typename Pointed>
   class Iterator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using value_type = Item;
      using difference_type = std::ptrdiff_t;
      using pointer = Pointed *;
      using reference = Pointed &;

      Iterator() = default;
      explicit Iterator( Node *node ) : node_( node ) {}
      operator Iterator<const Item>() const { return Iterator<const Item>( node_ ); }

      reference operator*() const { return node_->item; }
      pointer operator->() const { return &node_->item; }
      Iterator &operator++() {
         node_ = node_->newer;
         return *this;
      }
      Iterator operator++( int ) {
         auto before = *this;
         ++*this;
         return before;
      }
      bool operator==( const Iterator & ) const = default;

    private:
      Node *node_ = nullptr;
   };

 public:
   using iterator = Iterator<Item>;
   using const_iterator = Iterator<const Item>;

   HashMap() = default;
   HashMap( const HashMap & ) = delete;
   HashMap &operator=( const HashMap & ) = delete;
   ~HashMap() { clear(); }

   iterator find( const Key &key ) { return iterator( nodeOf( key ) ); }
   const_iterator find( const Key &key ) const { return const_iterator( nodeOf( key ) ); }
   bool has( const Key &key ) const { return nodeOf( key ) != nullptr; }

   // Adds behind the last element; the key must be absent.
   iterator add( const Key &key, Value value ) {
      if ( size_ == buckets_.size() ) {
         grow();
      }
      auto *const node = new Node{ { key, std::move( value ) }, hashOf( key ), newest_ };
      ( newest_ ? newest_->newer : oldest_ ) = node;
      newest_ = node;
      enter( node );
      ++size_;
      found_ = node;
      return iterator( node );
   }

   bool erase( const Key &key ) {
      if ( empty() ) {
         return false;
      }
      const auto hash = hashOf( key );
      for ( Node **place = &bucket( hash ); *place; place = &( *place )->next ) {
         if ( Node *const node = *place; node->hash == hash && node->item.first == key ) {
            *place = node->next;
            ( node->older ? node->older->newer : oldest_ ) = node->newer;
            ( node->newer ? node->newer->older : newest_ ) = node->older;
            --size_;
            found_ = nullptr;
            delete node; // last: the key may be the element's own
            return true;
         }
      }
      return false;
   }

   void clear() {
      while ( Node *const node = oldest_ ) {
         oldest_ = node->newer;
         delete node;
      }
      newest_ = nullptr;
      found_ = nullptr;
      buckets_.clear();
      size_ = 0;
   }

   bool empty() const { return size_ == 0; }
   Types::U32 size() const { return size_; }
   iterator begin() { return iterator( oldest_ ); }
   iterator end() { return iterator(); }
   const_iterator begin() const { return const_iterator( oldest_ ); }
   const_iterator end() const { return const_iterator(); }

 private:
   static Types::U64 hashOf( const Key &key ) { return static_cast<Types::U64>( Hash()( key ) ); }

   // There is a power of two of buckets; the product's upper half carries every bit of the hash.
   Node *&bucket( Types::U64 hash ) {
      return buckets_[ ( hash * 0x9e3779b97f4a7c15u >> 32 ) & ( buckets_.size() - 1 ) ];
   }

   Node *nodeOf( const Key &key ) const {
      if ( empty() ) {
         return nullptr;
      }
      if ( found_ && found_->item.first == key ) {
         return found_;
      }
      const auto hash = hashOf( key );
      Node *node = const_cast<HashMap *>( this )->bucket( hash );
      while ( node && !( node->hash == hash && node->item.first == key ) ) {
         node = node->next;
      }
      return found_ = node;
   }

   void enter( Node *node ) {
      Node *&first = bucket( node->hash );
      node->next = first;
      first = node;
   }

   void grow() {
      constexpr std::size_t fewest = 8;
      buckets_.assign( buckets_.empty() ? fewest : 2 * buckets_.size(), nullptr );
      for ( Node *node = oldest_; node; node = node->newer ) {
         enter( node );
      }
   }

   std::vector<Node *> buckets_;
   Node *oldest_ = nullptr;
   Node *newest_ = nullptr;
   mutable Node *found_ = nullptr; // last found or added: the next look-up is most often for the same key
   Types::U32 size_ = 0;
};

// A hash set that is walked in the order of insertion.
template <typename T, typename Hash>
class HashSet {
   struct Nothing {};
   using Map = HashMap<T, Nothing, Hash>;

 public:
   class const_iterator : public Map::const_iterator {
    public:
      using value_type = T;
      using pointer = const T *;
      using reference = const T &;

      const_iterator() = default;
      const_iterator( typename Map::const_iterator place ) : Map::const_iterator( place ) {}
      reference operator*() const { return Map::const_iterator::operator*().first; }
      pointer operator->() const { return &**this; }
      const_iterator &operator++() {
         Map::const_iterator::operator++();
         return *this;
      }
      const_iterator operator++( int ) {
         auto before = *this;
         ++*this;
         return before;
      }
   };

   bool insert( const T &value ) {
      if ( map_.has( value ) ) {
         return false;
      }
      map_.add( value, {} );
      return true;
   }
   bool erase( const T &value ) { return map_.erase( value ); }
   bool has( const T &value ) const { return map_.has( value ); }
   void clear() { map_.clear(); }
   bool empty() const { return map_.empty(); }
   Types::U32 size() const { return map_.size(); }
   const_iterator begin() const { return map_.begin(); }
   const_iterator end() const { return map_.end(); }
   const T &front() const { return *begin(); }

 private:
   Map map_;
};

} // namespace Nodra
