// Kernel layer atomic counters: the only atomic primitives the library uses.
//
// Each returns a status (always 0 here) and hands the new value (increment,
// decrement) or the old value (exchange) back through `result`. All are full
// barriers, so counts may guard the lifetime of what they count.
//
//   c_Int32 now;
//   ksys_atomicDecrement(&count, &now);
//   if (now == 0) destroy();
#ifndef ORVSTD_KERNEL_KSYS_ATOMIC_H_
#define ORVSTD_KERNEL_KSYS_ATOMIC_H_

#include "orvstd/defs/types.h"

inline c_Int32 ksys_atomicIncrement(c_Int32* value, c_Int32* result) {
  *result = __atomic_add_fetch(value, 1, __ATOMIC_SEQ_CST);
  return 0;
}

inline c_Int32 ksys_atomicDecrement(c_Int32* value, c_Int32* result) {
  *result = __atomic_sub_fetch(value, 1, __ATOMIC_SEQ_CST);
  return 0;
}

inline c_Int32 ksys_atomicExchange(c_Int32* value, c_Int32 newValue, c_Int32* result) {
  *result = __atomic_exchange_n(value, newValue, __ATOMIC_SEQ_CST);
  return 0;
}

#endif  // ORVSTD_KERNEL_KSYS_ATOMIC_H_
