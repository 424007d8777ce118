// cc_FastImageTransfer: the bulk transfer of image data across a
// communicator, beside the ordinary archive traffic.
#ifndef ORVSTD_PELBUF_FAST_IMAGE_TRANSFER_H_
#define ORVSTD_PELBUF_FAST_IMAGE_TRANSFER_H_

#include "orvstd/except/except.h"

class cc_FastImageTransfer {
 public:
  cmErrorFamily(Errors, ccException);
  cmErrorClass(TransferFailed, Errors, 0x10003502);
};

#endif  // ORVSTD_PELBUF_FAST_IMAGE_TRANSFER_H_
