#include "orvstd/devices/last_error_family.h"

#include <ostream>

#include "orvstd/archive/archive.h"
#include "orvstd/devices/accelerator.h"
#include "orvstd/devices/board.h"

template <class Owner>
void cc_LastErrorFamily<Owner>::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(cc_LastErrorFamily), 0, [&](unsigned char v) { serialize_(ar, v); });
}

template <class Owner>
void cc_LastErrorFamily<Owner>::serialize_(ccArchive& ar, unsigned char version) {
  ccException::dispatchSerialize(ar);
  if (version > 0) throw ccArchive::UnknownVersion(Owner::kErrorsVersionText, version);
  ar || text_;
  ar || lastError_;
}

template <class Owner>
void cc_LastErrorFamily<Owner>::message_(std::ostream& os) const {
  if (text_.empty() && lastError_ == 0) {
    ccException::message_(os);
    return;
  }
  os << text_;
  if (lastError_ != 0) os << " : LastError = " << lastError_;
}

template class cc_LastErrorFamily<ccBoard>;
template class cc_LastErrorFamily<ccAccelerator>;
