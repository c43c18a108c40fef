// The source of a sending transfer: a local file, standard input or a memory
// block behind one set of operations.
#pragma once

#include <cstddef>
#include <cstdio>

#include "ftp/client/ftp_mem_file.h"

struct ftp_source {
  const char* mode_text = "w";  // "r+w" after a restart
  long threshold = 1024;
  long bytes = 0;
  int (*read_byte)(void* handle) = nullptr;
  long (*read_block)(void* handle, void* destination, std::size_t size, std::size_t count) = nullptr;
  long (*seek)(void* handle, long offset) = nullptr;
  int (*close)(void* handle) = nullptr;  // null: nothing to close
  void* handle = nullptr;
};

// A stream the source owns (closed at the end).
void ftp_source_from_file(ftp_source& source, std::FILE* file);
// Standard input: read, never closed.
void ftp_source_from_stdin(ftp_source& source);
void ftp_source_from_mem(ftp_source& source, ftp_mem_file* block);
void ftp_source_close(ftp_source& source);
