#include "ftp/client/ftp_source.h"

namespace {

int FileByte(void* handle) { return std::fgetc(static_cast<std::FILE*>(handle)); }

long FileBlock(void* handle, void* destination, std::size_t size, std::size_t count) {
  auto* file = static_cast<std::FILE*>(handle);
  const std::size_t got = std::fread(destination, size, count, file);
  if (got == 0 && std::ferror(file)) return -1;
  return static_cast<long>(got * size);
}

long FileSeek(void* handle, long offset) {
  return std::fseek(static_cast<std::FILE*>(handle), offset, SEEK_SET) == 0 ? offset : -1;
}

int FileClose(void* handle) { return std::fclose(static_cast<std::FILE*>(handle)); }

int MemByte(void* handle) { return ftp_mem_getc(static_cast<ftp_mem_file*>(handle)); }

long MemBlock(void* handle, void* destination, std::size_t size, std::size_t count) {
  return ftp_mem_read(destination, size, count, static_cast<ftp_mem_file*>(handle));
}

long MemSeek(void* handle, long offset) { return ftp_mem_seek(static_cast<ftp_mem_file*>(handle), offset); }

}  // namespace

void ftp_source_from_file(ftp_source& source, std::FILE* file) {
  source.read_byte = FileByte;
  source.read_block = FileBlock;
  source.seek = FileSeek;
  source.close = FileClose;
  source.handle = file;
}

void ftp_source_from_stdin(ftp_source& source) {
  ftp_source_from_file(source, stdin);
  source.close = nullptr;
}

void ftp_source_from_mem(ftp_source& source, ftp_mem_file* block) {
  source.read_byte = MemByte;
  source.read_block = MemBlock;
  source.seek = MemSeek;
  source.close = nullptr;
  source.handle = block;
}

void ftp_source_close(ftp_source& source) {
  if (source.close != nullptr && source.handle != nullptr) source.close(source.handle);
  source.handle = nullptr;
}
