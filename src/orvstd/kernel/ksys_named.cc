#include "orvstd/kernel/ksys_named.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include <pthread.h>

namespace {

// Takes, converts or drops the lock on the file's first byte. Locks of
// open file descriptions: one per handle, even within one process.
bool ofdLock(int fd, short type) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = 0;
  fl.l_len = 1;
  while (::fcntl(fd, F_OFD_SETLK, &fl) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

bool stillLinked(int fd) {
  struct stat st {};
  return ::fstat(fd, &st) == 0 && st.st_nlink > 0;
}

void sleepMs(int ms) {
  timespec t{0, ms * 1000000L};
  while (::nanosleep(&t, &t) != 0 && errno == EINTR) {
  }
}

// A creator holds the write lock only while it fills the block; a closer
// only while it removes the name. Both are quick, so an opener waits for
// them by polling, for at most this long.
constexpr int kSettleMs = 2000;

}  // namespace

bool ksys_named_path(char const* name, char* path, c_UInt32 size) {
  if (!name || !*name) return false;
  int n = std::snprintf(path, size, "/orvstd-%u-", static_cast<unsigned>(::getuid()));
  if (n <= 0 || static_cast<c_UInt32>(n) >= size) return false;
  c_UInt32 at = static_cast<c_UInt32>(n);
  static char const hex[] = "0123456789ABCDEF";
  for (auto const* p = reinterpret_cast<unsigned char const*>(name); *p; ++p) {
    unsigned char c = *p;
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                 c == '-' || c == '.';
    // Every other byte, the '/' that shm names cannot hold included, is
    // escaped, so that distinct names stay distinct.
    c_UInt32 need = plain ? 1 : 3;
    if (at + need >= size) return false;
    if (plain) {
      path[at++] = static_cast<char>(c);
    } else {
      path[at++] = '%';
      path[at++] = hex[c >> 4];
      path[at++] = hex[c & 15];
    }
  }
  path[at] = '\0';
  return true;
}

namespace {

// The mappings of this process, by path.
pthread_mutex_t gTableLock = PTHREAD_MUTEX_INITIALIZER;
ksys_namedMapping* gTable = nullptr;

struct TableLock {
  TableLock() { pthread_mutex_lock(&gTableLock); }
  ~TableLock() { pthread_mutex_unlock(&gTableLock); }
  TableLock(TableLock const&) = delete;
  TableLock& operator=(TableLock const&) = delete;
};

void publish(ksys_namedMapping* m, c_UInt32 kind) {
  m->block->kind = kind;
  m->block->magic.store(ksys_namedMagic, std::memory_order_release);
  // Write to read: atomic for these locks, so no other opener can find
  // the block unguarded in between.
  ofdLock(m->fd, F_RDLCK);
}

void unmapAndClose(ksys_namedMapping* m) {
  ofdLock(m->fd, F_UNLCK);  // explicitly: the mapping holds the lock until munmap
  ::munmap(m->block, sizeof(ksys_namedBlock));
  ::close(m->fd);
}

// Maps the file of `m->path` for this process, creating the block if no
// live process holds it.
c_Int32 mapFile(ksys_namedMapping* m, c_UInt32 kind, bool (*init)(ksys_namedBlock*, void*), void* context,
                bool* first) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    int fd = ::shm_open(m->path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return ksys_namedOsFailure;
    if (ofdLock(fd, F_WRLCK)) {
      // No live handle anywhere: new, or left by processes that all died.
      if (!stillLinked(fd)) {  // a last closer removed it just now
        ::close(fd);
        continue;
      }
      void* p = MAP_FAILED;
      if (::ftruncate(fd, 0) == 0 && ::ftruncate(fd, sizeof(ksys_namedBlock)) == 0)
        p = ::mmap(nullptr, sizeof(ksys_namedBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
      if (p == MAP_FAILED) {
        ::close(fd);
        return ksys_namedOsFailure;
      }
      m->fd = fd;
      m->block = static_cast<ksys_namedBlock*>(p);
      if (!init(m->block, context)) {
        ::shm_unlink(m->path);
        unmapAndClose(m);
        return ksys_namedOsFailure;
      }
      publish(m, kind);
      *first = true;
      return 0;
    }
    if (errno != EAGAIN && errno != EACCES) {
      ::close(fd);
      return ksys_namedOsFailure;
    }
    // Someone holds it: wait until a creator has published or a closer gone.
    bool got = false;
    for (int waited = 0; waited < kSettleMs; ++waited) {
      if (ofdLock(fd, F_RDLCK)) {
        got = true;
        break;
      }
      if (errno != EAGAIN && errno != EACCES) break;
      sleepMs(1);
    }
    if (!got) {
      ::close(fd);
      return ksys_namedOsFailure;
    }
    if (!stillLinked(fd)) {
      ::close(fd);
      continue;
    }
    struct stat st {};
    void* p = MAP_FAILED;
    if (::fstat(fd, &st) == 0 && st.st_size == static_cast<off_t>(sizeof(ksys_namedBlock)))
      p = ::mmap(nullptr, sizeof(ksys_namedBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (p == MAP_FAILED ||
        static_cast<ksys_namedBlock*>(p)->magic.load(std::memory_order_acquire) != ksys_namedMagic) {
      if (p != MAP_FAILED) ::munmap(p, sizeof(ksys_namedBlock));
      ::close(fd);
      return ksys_namedForeign;
    }
    m->fd = fd;
    m->block = static_cast<ksys_namedBlock*>(p);
    *first = false;
    return 0;
  }
  return ksys_namedOsFailure;
}

}  // namespace

c_Int32 ksys_named_open(char const* name, c_UInt32 kind, bool (*init)(ksys_namedBlock*, void*), void* context,
                        ksys_namedMapping** out, bool* first) {
  char path[256];
  // NAME_MAX bounds a file name in /dev/shm.
  if (!ksys_named_path(name, path, sizeof path)) return ksys_namedBadName;
  TableLock hold;
  for (ksys_namedMapping* m = gTable; m; m = m->next) {
    if (std::strcmp(m->path, path) == 0) {
      ++m->handles;
      *first = false;
      *out = m;
      return 0;
    }
  }
  auto* m = new (std::nothrow) ksys_namedMapping;
  if (!m) return kstd_outOfMemory;
  std::memcpy(m->path, path, sizeof path);
  c_Int32 rc = mapFile(m, kind, init, context, first);
  if (rc < 0) {
    delete m;
    return rc;
  }
  m->handles = 1;
  m->next = gTable;
  gTable = m;
  *out = m;
  return 0;
}

void ksys_named_close(ksys_namedMapping* m, bool (*lastHere)(ksys_namedBlock*)) {
  TableLock hold;
  if (--m->handles != 0) return;
  for (ksys_namedMapping** p = &gTable; *p; p = &(*p)->next) {
    if (*p == m) {
      *p = m->next;
      break;
    }
  }
  if (lastHere && lastHere(m->block)) return;  // mapping, file and lock stay until the process ends
  // Alone once the write lock is ours: remove the name while holding it,
  // so that an opener that got in before sees the file unlinked and starts
  // over.
  if (ofdLock(m->fd, F_WRLCK)) ::shm_unlink(m->path);
  unmapAndClose(m);
  delete m;
}
