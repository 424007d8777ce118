// An open-addressing index from a key (an object's address or its id) to a
// slot number, for an archive's table of known objects. Loading and storing
// look an object up once or twice per pointer, in tables of hundreds of
// thousands of entries: a flat table with linear probing keeps that to one
// or two cache lines, where a node-based map chases a pointer per lookup.
// Erasing shifts the following cells back, so there are no tombstones and a
// table that is forgotten and refilled never slows down. Internal.
//
//   cc_SlotIndex<ccPersistent*> index;
//   index.insert(obj, 7);
//   if (index.find(obj) == cc_SlotIndex<ccPersistent*>::kNone) ...
#ifndef ORVSTD_ARCHIVE_INTERNAL_SLOT_INDEX_H_
#define ORVSTD_ARCHIVE_INTERNAL_SLOT_INDEX_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "orvstd/defs/types.h"

template <class Key>
class cc_SlotIndex {
 public:
  static constexpr c_UInt32 kNone = 0xFFFFFFFFu;

  // The slot of `key`, or kNone.
  c_UInt32 find(Key key) const {
    if (cells_.empty()) return kNone;
    for (std::size_t i = home(key);; i = (i + 1) & mask()) {
      Cell const& c = cells_[i];
      if (c.slot == kNone) return kNone;
      if (c.key == key) return c.slot;
    }
  }

  // Sets the slot of `key`, adding it if it is not there.
  void insert(Key key, c_UInt32 slot) {
    if ((size_ + 1) * 2 > cells_.size()) grow();
    for (std::size_t i = home(key);; i = (i + 1) & mask()) {
      Cell& c = cells_[i];
      if (c.slot == kNone) {
        c = Cell{key, slot};
        ++size_;
        return;
      }
      if (c.key == key) {
        c.slot = slot;
        return;
      }
    }
  }

  // Removes `key`; false if it was not there.
  bool erase(Key key) {
    if (cells_.empty()) return false;
    std::size_t i = home(key);
    for (;; i = (i + 1) & mask()) {
      if (cells_[i].slot == kNone) return false;
      if (cells_[i].key == key) break;
    }
    // Move back every following cell whose home does not lie in (i, j], so
    // no probe sequence is cut by the hole.
    for (std::size_t j = (i + 1) & mask();; j = (j + 1) & mask()) {
      if (cells_[j].slot == kNone) break;
      std::size_t const k = home(cells_[j].key);
      bool const between = i <= j ? (i < k && k <= j) : (i < k || k <= j);
      if (!between) {
        cells_[i] = cells_[j];
        i = j;
      }
    }
    cells_[i].slot = kNone;
    --size_;
    return true;
  }

  std::size_t size() const { return size_; }

  void clear() {
    cells_.clear();
    size_ = 0;
  }

 private:
  struct Cell {
    Key key{};
    c_UInt32 slot = kNone;
  };

  std::size_t mask() const { return cells_.size() - 1; }

  // Addresses are aligned and ids consecutive: both need mixing before
  // their low bits can pick a cell (consecutive keys in consecutive cells
  // would merge into long runs that every other key must probe through).
  std::size_t home(Key key) const {
    std::uint64_t x;
    if constexpr (std::is_pointer_v<Key>)
      x = reinterpret_cast<std::uintptr_t>(key);
    else
      x = static_cast<std::uint64_t>(key);
    x ^= x >> 33;
    x *= 0xff51afd7ed558ccdULL;
    x ^= x >> 33;
    return static_cast<std::size_t>(x) & mask();
  }

  void grow() {
    std::vector<Cell> old;
    old.swap(cells_);
    cells_.assign(old.empty() ? 16 : old.size() * 2, Cell{});
    size_ = 0;
    for (Cell const& c : old)
      if (c.slot != kNone) insert(c.key, c.slot);
  }

  std::vector<Cell> cells_;
  std::size_t size_ = 0;
};

// The index by object id. Writers number objects 1, 2, 3 ..., so ids up to
// a little over twice the number known go straight into an array, read in
// order as the file is; others (a file may choose any) go to the hashed
// index. Either way the memory stays in proportion to the objects known.
class cc_IdSlotIndex {
 public:
  static constexpr c_UInt32 kNone = cc_SlotIndex<c_Int32>::kNone;

  c_UInt32 find(c_Int32 id) const {
    if (id > 0 && static_cast<std::size_t>(id) < dense_.size()) return dense_[static_cast<std::size_t>(id)];
    return sparse_.find(id);
  }

  void insert(c_Int32 id, c_UInt32 slot) {
    if (id > 0) {
      auto const at = static_cast<std::size_t>(id);
      if (at >= dense_.size() && at < 2 * size() + 4096) dense_.resize(std::max(at + 1, 2 * dense_.size()), kNone);
      if (at < dense_.size()) {
        if (dense_[at] == kNone) ++denseCount_;
        dense_[at] = slot;
        return;
      }
    }
    sparse_.insert(id, slot);
  }

  bool erase(c_Int32 id) {
    if (id > 0 && static_cast<std::size_t>(id) < dense_.size()) {
      c_UInt32& cell = dense_[static_cast<std::size_t>(id)];
      if (cell == kNone) return false;
      cell = kNone;
      --denseCount_;
      return true;
    }
    return sparse_.erase(id);
  }

  std::size_t size() const { return denseCount_ + sparse_.size(); }

  void clear() {
    dense_.clear();
    denseCount_ = 0;
    sparse_.clear();
  }

 private:
  std::vector<c_UInt32> dense_;
  std::size_t denseCount_ = 0;
  cc_SlotIndex<c_Int32> sparse_;
};

#endif  // ORVSTD_ARCHIVE_INTERNAL_SLOT_INDEX_H_
