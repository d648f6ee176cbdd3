// SPDX-License-Identifier: MIT
// Blocks of memory for the buffers of files and for small temporary files. A thread keeps a few of
// them when they are given back, so that opening one small file after the other neither asks the
// heap nor touches new memory.
#ifndef QOB_OSCOMM_BLOCK_POOL_H
#define QOB_OSCOMM_BLOCK_POOL_H

#include <cstddef>

namespace qob {

inline constexpr std::size_t kBlockSize = std::size_t{128} << 10U;

// A block of kBlockSize bytes with any content; null without memory.
char *takeBlock() noexcept;

// Any thread may give a block back. Null is accepted.
void giveBlock(char *block) noexcept;

} // namespace qob

#endif
