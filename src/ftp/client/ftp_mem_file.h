// A memory block read like a file, the source of a memory upload.
#pragma once

#include <cstddef>

struct ftp_mem_file {
  const unsigned char* base;
  std::size_t position;
  std::size_t length;
};

// The next byte (0..255), or -1 at the end.
int ftp_mem_getc(ftp_mem_file* file);
// Copies up to size * count bytes; the count of bytes copied, -1 for a null
// block or destination.
long ftp_mem_read(void* destination, std::size_t size, std::size_t count, ftp_mem_file* file);
// Moves to an offset from the start, kept inside the block; the position.
long ftp_mem_seek(ftp_mem_file* file, long offset);
