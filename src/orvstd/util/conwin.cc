#include "orvstd/util/conwin.h"

cmErrorFamilyDefine(cc_ConWin::Errors)
cmErrorDefine(cc_ConWin::CantCreateWindow)
