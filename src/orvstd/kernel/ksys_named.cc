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

c_Int32 ksys_named_open(char const* name, ksys_namedMapping** out, bool* first) {
  auto* m = new (std::nothrow) ksys_namedMapping;
  if (!m) return kstd_outOfMemory;
  // NAME_MAX bounds a file name in /dev/shm.
  if (!ksys_named_path(name, m->path, 256)) {
    delete m;
    return ksys_namedBadName;
  }
  c_Int32 rc = ksys_namedOsFailure;
  for (int attempt = 0; attempt < 100; ++attempt) {
    int fd = ::shm_open(m->path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) break;
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
        break;
      }
      m->fd = fd;
      m->block = static_cast<ksys_namedBlock*>(p);
      *first = true;
      *out = m;
      return 0;
    }
    if (errno != EAGAIN && errno != EACCES) {
      ::close(fd);
      break;
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
      break;
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
      rc = ksys_namedForeign;
      break;
    }
    m->fd = fd;
    m->block = static_cast<ksys_namedBlock*>(p);
    *first = false;
    *out = m;
    return 0;
  }
  delete m;
  return rc;
}

void ksys_named_publish(ksys_namedMapping* m, c_UInt32 kind) {
  m->block->kind = kind;
  m->block->magic.store(ksys_namedMagic, std::memory_order_release);
  // Write to read: atomic for these locks, so no other opener can find
  // the block unguarded in between.
  ofdLock(m->fd, F_RDLCK);
}

void ksys_named_close(ksys_namedMapping* m, bool keep) {
  if (keep) return;  // mapping, file and lock stay until the process ends
  // Alone once the write lock is ours: remove the name while holding it,
  // so that an opener that got in before sees the file unlinked and starts
  // over.
  if (ofdLock(m->fd, F_WRLCK)) ::shm_unlink(m->path);
  // Explicitly: the mapping holds the open file description, and with it
  // the lock, until munmap.
  ofdLock(m->fd, F_UNLCK);
  ::munmap(m->block, sizeof(ksys_namedBlock));
  ::close(m->fd);
  delete m;
}
