// ccAcqImage: an image as a camera delivered it, in its own pixel format,
// before conversion into pel buffers.
#ifndef ORVSTD_PELBUF_ACQ_IMAGE_H_
#define ORVSTD_PELBUF_ACQ_IMAGE_H_

#include "orvstd/except/except.h"

class ccAcqImage {
 public:
  cmErrorFamily(Errors, ccExceptionWithString);
  cmErrorClass(NotSupported, Errors, 0x100009d0);
};

#endif  // ORVSTD_PELBUF_ACQ_IMAGE_H_
