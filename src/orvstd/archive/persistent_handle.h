// Handles through archives: a handle member is stored as a pointer, so a
// body shared by several handles is written once and loads shared again.
//
//   class ccDrawing : public ccPersistent {
//     ccPtrHandle<ccShape> outline_;
//     void serialize_(ccArchive& ar, unsigned char version) {
//       ...
//       ar || outline_;   // a pointer record, the body beside its first one
//     }
//   };
//
// Loading a body of another class than the handle's raises
// ccArchive::BadType; it never becomes a bad cast.
#ifndef ORVSTD_ARCHIVE_PERSISTENT_HANDLE_H_
#define ORVSTD_ARCHIVE_PERSISTENT_HANDLE_H_

#include <type_traits>

#include "orvstd/archive/archive.h"
#include "orvstd/handle/ptrhandle.h"

// Internal: a pointer loaded for a handle turned out to be of the wrong
// class. Raises BadType; an object made by this very load stays with the
// archive (deleted when it goes), never with a handle.
[[noreturn]] void cf_PointerOfWrongClass(ccArchive& ar, ccPersistent* loaded);

template <class T>
  requires std::is_base_of_v<ccPersistent, T> && std::is_base_of_v<ccRepBase, T>
ccArchive& operator||(ccArchive& ar, ccPtrHandle<T>& handle) {
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, handle.get(), out);
  if (ar.isLoading()) {
    T* body = dynamic_cast<T*>(out);
    if (out != nullptr && body == nullptr) cf_PointerOfWrongClass(ar, out);
    handle = body;
  }
  return ar;
}

template <class T>
  requires std::is_base_of_v<ccPersistent, T> && std::is_base_of_v<ccRepBase, T>
ccArchive& operator||(ccArchive& ar, ccPtrHandle_const<T>& handle) {
  ccPersistent* out = nullptr;
  ccPersistent::serializePointer(ar, const_cast<T*>(handle.get()), out);
  if (ar.isLoading()) {
    T* body = dynamic_cast<T*>(out);
    if (out != nullptr && body == nullptr) cf_PointerOfWrongClass(ar, out);
    handle = body;
  }
  return ar;
}

#endif  // ORVSTD_ARCHIVE_PERSISTENT_HANDLE_H_
