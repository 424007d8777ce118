#include "orvstd/devices/accelerator.h"

#include <ostream>

#include "orvstd/archive/archive.h"

ccAccelerator::Errors::~Errors() = default;

void ccAccelerator::Errors::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(Errors), 0, [&](unsigned char v) { serialize_(ar, v); });
}

// Base first, then the version test, as for the board errors.
void ccAccelerator::Errors::serialize_(ccArchive& ar, unsigned char version) {
  ccException::dispatchSerialize(ar);
  if (version > 0) throw ccArchive::UnknownVersion("ccAccelerator::Errors class version mismatch", version);
  ar || text_;
  ar || lastError_;
}

void ccAccelerator::Errors::message_(std::ostream& os) const {
  if (text_.empty() && lastError_ == 0) {
    ccException::message_(os);
    return;
  }
  os << text_;
  if (lastError_ != 0) os << " : LastError = " << lastError_;
}

cmErrorDefine(ccAccelerator::BadFile)
cmErrorDefine(ccAccelerator::BootFailure)
cmErrorDefine(ccAccelerator::ConnectionBroken)
