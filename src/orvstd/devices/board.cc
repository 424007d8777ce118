#include "orvstd/devices/board.h"

#include <ostream>

#include "orvstd/archive/archive.h"

ccBoard::Errors::~Errors() = default;

void ccBoard::Errors::dispatchSerialize(ccArchive& ar) {
  dispatchVersioned_(ar, this, sizeof(Errors), 0, [&](unsigned char v) { serialize_(ar, v); });
}

// The base goes first and the version is tested after it, unlike the usual
// order: stored board errors have always been read this way.
void ccBoard::Errors::serialize_(ccArchive& ar, unsigned char version) {
  ccException::dispatchSerialize(ar);
  if (version > 0) throw ccArchive::UnknownVersion("ccBoard::Errors class version mismatch", version);
  ar || text_;
  ar || lastError_;
}

void ccBoard::Errors::message_(std::ostream& os) const {
  if (text_.empty() && lastError_ == 0) {
    ccException::message_(os);
    return;
  }
  os << text_;
  if (lastError_ != 0) os << " : LastError = " << lastError_;
}

cmErrorDefine(ccBoard::BadParams)
cmErrorDefine(ccBoard::StaticInitDisorder)
cmErrorDefine(ccBoard::NotSupported)
cmErrorDefine(ccBoard::HardwareNotResponding)
cmErrorDefine(ccBoard::Timeout)
cmErrorDefine(ccBoard::HardwareInUse)
cmErrorDefine(ccBoard::HardwareNotInitialized)
cmErrorDefine(ccBoard::FpgaLoadFailure)
cmErrorDefine(ccBoard::BadEERAMContents)
cmErrorDefine(ccBoard::MultiProcessAccessFailed)
