// ccStoragePool: a block allocator of fixed-size bodies, for classes that
// are made and freed constantly (cc2XformLinear in composition chains).
//
// Storage comes in blocks of a fixed number of objects and goes back to a
// free list, never to the system, so taking and giving back one object is a
// pointer swap under a lock. A pool may be marked autoDelete: it then frees
// its blocks whenever the last object comes back.
//
//   class ccSpot {
//    public:
//     static void* operator new(std::size_t n) { return pool().alloc(n); }
//     static void operator delete(void* p) { pool().free(p); }
//    private:
//     static ccStoragePool& pool();   // one process-wide pool, made at first use
//   };
#ifndef ORVSTD_MATH_STORAGE_POOL_H_
#define ORVSTD_MATH_STORAGE_POOL_H_

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "orvstd/defs/types.h"

class ccStoragePool {
 public:
  // Objects of `objectSize` bytes, `objectsPerBlock` of them to a block
  // (both positive, asserted). The name is for diagnostics only.
  ccStoragePool(std::size_t objectSize, c_Int32 objectsPerBlock, std::string name);
  ccStoragePool(ccStoragePool const&) = delete;
  ccStoragePool& operator=(ccStoragePool const&) = delete;
  // Frees every block, whether or not objects are still out.
  ~ccStoragePool();

  // Storage for one object; `size` must be the pool's object size
  // (asserted). std::bad_alloc when a new block cannot be had.
  void* alloc(std::size_t size);
  // Gives back storage of alloc; null is allowed. Runs maybeDelete when
  // autoDelete is set.
  void free(void* p);

  bool autoDelete() const;
  void autoDelete(bool on);
  // Frees every block when no object is out; true if it did (or there was
  // nothing to free).
  bool maybeDelete();

  std::string const& name() const { return name_; }
  std::size_t objectSize() const { return objectSize_; }
  // Objects handed out and not yet given back.
  c_Int32 outstanding() const;
  // Blocks currently held.
  c_Int32 blocks() const;

 private:
  struct FreeNode {
    FreeNode* next;
  };
  bool releaseBlocksIfIdle_();  // lock held

  std::size_t const objectSize_;
  std::size_t const slotSize_;
  c_Int32 const perBlock_;
  std::string const name_;
  mutable std::mutex mutex_;
  FreeNode* free_ = nullptr;
  std::vector<void*> blocks_;
  c_Int32 outstanding_ = 0;
  bool autoDelete_ = false;
};

#endif  // ORVSTD_MATH_STORAGE_POOL_H_
