// Kernel layer: how much of the calling thread's stack is left.
//
// Readers of nested data (an archive's object graph) recurse once per
// level; before going deeper they ask for headroom, so that a hostile file
// ends in a typed error instead of a stack overflow.
//
//   if (ksys_stack_headroom() < 256 * 1024) throw ...;
#ifndef ORVSTD_KERNEL_KSYS_STACK_H_
#define ORVSTD_KERNEL_KSYS_STACK_H_

#include <cstddef>

// Bytes between the current stack position and the end of the calling
// thread's stack; SIZE_MAX when the bounds cannot be found.
std::size_t ksys_stack_headroom();

#endif  // ORVSTD_KERNEL_KSYS_STACK_H_
