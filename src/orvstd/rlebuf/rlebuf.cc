#include "orvstd/rlebuf/rlebuf.h"

cmErrorFamilyDefine(ccRLEBuffer::Errors)
cmErrorDefine(ccRLEBuffer::Degenerate)
