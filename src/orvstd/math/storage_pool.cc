#include "orvstd/math/storage_pool.h"

#include <new>
#include <utility>

#include "orvstd/except/assert.h"

namespace {

// Every slot keeps the alignment operator new gives, so a pooled object is
// placed as well as a plainly allocated one.
constexpr std::size_t kSlotAlign = alignof(std::max_align_t);

std::size_t slotSizeFor(std::size_t objectSize) {
  std::size_t const atLeast = objectSize < sizeof(void*) ? sizeof(void*) : objectSize;
  return (atLeast + kSlotAlign - 1) / kSlotAlign * kSlotAlign;
}

}  // namespace

ccStoragePool::ccStoragePool(std::size_t objectSize, c_Int32 objectsPerBlock, std::string name)
    : objectSize_(objectSize), slotSize_(slotSizeFor(objectSize)), perBlock_(objectsPerBlock), name_(std::move(name)) {
  cmAssert(objectSize > 0 && objectsPerBlock > 0);
}

ccStoragePool::~ccStoragePool() {
  for (void* b : blocks_) ::operator delete(b);
}

void* ccStoragePool::alloc(std::size_t size) {
  cmAssert(size == objectSize_);
  std::lock_guard<std::mutex> lock(mutex_);
  if (free_ == nullptr) {
    blocks_.reserve(blocks_.size() + 1);  // so that push_back below cannot throw after the allocation
    auto* block = static_cast<unsigned char*>(::operator new(slotSize_ * static_cast<std::size_t>(perBlock_)));
    blocks_.push_back(block);
    // Threaded from the end so that the block is handed out front to back.
    for (c_Int32 i = perBlock_; i-- > 0;) {
      auto* node = reinterpret_cast<FreeNode*>(block + slotSize_ * static_cast<std::size_t>(i));
      node->next = free_;
      free_ = node;
    }
  }
  FreeNode* node = free_;
  free_ = node->next;
  ++outstanding_;
  return node;
}

void ccStoragePool::free(void* p) {
  if (p == nullptr) return;
  std::lock_guard<std::mutex> lock(mutex_);
  cmAssert(outstanding_ > 0);
  auto* node = static_cast<FreeNode*>(p);
  node->next = free_;
  free_ = node;
  --outstanding_;
  if (autoDelete_) releaseBlocksIfIdle_();
}

bool ccStoragePool::autoDelete() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return autoDelete_;
}

void ccStoragePool::autoDelete(bool on) {
  std::lock_guard<std::mutex> lock(mutex_);
  autoDelete_ = on;
}

bool ccStoragePool::maybeDelete() {
  std::lock_guard<std::mutex> lock(mutex_);
  return releaseBlocksIfIdle_();
}

bool ccStoragePool::releaseBlocksIfIdle_() {
  if (outstanding_ != 0) return false;
  for (void* b : blocks_) ::operator delete(b);
  blocks_.clear();
  free_ = nullptr;
  return true;
}

c_Int32 ccStoragePool::outstanding() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return outstanding_;
}

c_Int32 ccStoragePool::blocks() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return static_cast<c_Int32>(blocks_.size());
}
