#include "ftp/client/ftp_mem_file.h"

#include <cstring>

int ftp_mem_getc(ftp_mem_file* file) {
  if (file->position >= file->length) return -1;
  return file->base[file->position++];
}

long ftp_mem_read(void* destination, std::size_t size, std::size_t count, ftp_mem_file* file) {
  if (file->base == nullptr || destination == nullptr) return -1;
  std::size_t wanted = size * count;
  const std::size_t left = file->length > file->position ? file->length - file->position : 0;
  if (wanted > left) wanted = left;
  std::memcpy(destination, file->base + file->position, wanted);
  file->position += wanted;
  return static_cast<long>(wanted);
}

long ftp_mem_seek(ftp_mem_file* file, long offset) {
  std::size_t position = offset < 0 ? 0 : static_cast<std::size_t>(offset);
  if (position >= file->length) position = file->length > 0 ? file->length - 1 : 0;
  file->position = position;
  return static_cast<long>(position);
}
