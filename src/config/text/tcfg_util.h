// Text configuration files in memory: key=value lines (also "key value",
// quoted values, trailing comments) and delimiter-separated columns. A file is
// read whole into one buffer whose lines become the rows; changed or appended
// lines are heap copies owned by the object. The object keeps the device path;
// every file access maps it below the host root.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr int kTcfgMaxRows = 32768;
inline constexpr std::size_t kTcfgPathSize = 256;

struct Tcfg {
  char path[kTcfgPathSize];  // device path; empty for an object made from memory
  uint32_t size;             // content bytes, without the terminating NUL
  char* content;             // size + 1 bytes; line ends are overwritten by NULs
  char* rows[kTcfgMaxRows];  // into content, or the owned line of the slot
  int32_t row_count;
  char* owned[kTcfgMaxRows];  // heap line shown at the same slot, or null
};

// --- Object and file ---------------------------------------------------------

// A new, not yet loaded object for the file. With create_flag 0 the file must
// exist; with 1 a missing file is first created empty. Null on failure.
Tcfg* new_cfg(const char* path, int create_flag);
Tcfg* new_cfg(const char* path);
// Creates the file empty (mode 0744); 0, or -1.
int create_cfg_file(const char* path);
// An object holding a copy of the first length bytes, already split into rows.
Tcfg* create_mem_cfg(const char* buffer, uint32_t length);
// Reads the file with one read() and splits it into rows; the row count, or -1.
int load_cfg(Tcfg* cfg);
// Rewrites the file with every non-null row followed by "\n"; 0, or -1.
int save_cfg(Tcfg* cfg);
void free_cfg(Tcfg* cfg);
// Every non-null row to standard error; 0.
int dump_cfg(Tcfg* cfg);
int get_row_count(Tcfg* cfg);

// --- Rows --------------------------------------------------------------------

// Appends an owned copy of text as a new row; 0, or -1 (also on a full table).
int append_line(Tcfg* cfg, const char* text);
// Replaces the row by an owned copy of text; the row count stays; 0, or -1.
int set_line(Tcfg* cfg, int row, const char* text);
// Copies the row into the buffer; its length, or -1.
int get_line(Tcfg* cfg, int row, char* buffer, std::size_t buffer_size);
// The text behind the first occurrence of search in any row, up to the first
// stop character or the end of that row; 0, or -1 with the buffer emptied.
int get_str_after(Tcfg* cfg, const char* search, const char* stops, char* buffer, std::size_t buffer_size);

// Splits text in place at any of the delimiters (runs count as one, empty
// pieces are skipped); stores at most max_count pieces and returns how many.
int split_string(char* text, const char* delimiters, char** pieces, int max_count);
// The same, each piece converted with StrToNum and cut to 8 bits.
int split_bytes(char* text, const char* delimiters, uint8_t* bytes, int max_count);

// --- Keys ----------------------------------------------------------------------

// The row of the key's match (skipping the first n matches, from start_row)
// with its value in the buffer and its place in the row; -1 when there is none
// or the value does not fit. value_offset and value_length may be null.
int find_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int* value_offset,
               int* value_length, int n, int start_row);
int get_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size);
int get_value_from_row(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int start_row);
int get_nth_value(Tcfg* cfg, const char* key, char* buffer, std::size_t buffer_size, int n);

// Replaces the value of the matching row, keeping key, quotes and comment
// around it; 0, or -1 with the object unchanged.
int replace_value(Tcfg* cfg, const char* key, const char* value, int n, int start_row);
int set_value(Tcfg* cfg, const char* key, const char* value);
int set_value_from_row(Tcfg* cfg, const char* key, const char* value, int start_row);
int set_nth_value(Tcfg* cfg, const char* key, const char* value, int n);

// --- Columns -------------------------------------------------------------------

// Column col (from 0) of the row split at the delimiters: the row index with
// the value in the buffer, or -1.
int get_col(Tcfg* cfg, int row, int col, const char* delimiters, char* buffer, std::size_t buffer_size);
// Replaces the column's value in place; 0, or -1.
int set_col(Tcfg* cfg, int row, int col, const char* delimiters, const char* value);
// The value column of the n-th row whose key column is exactly key, as get_col
// returns it; -1 with the buffer emptied when there is none.
int find_col_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                   char* buffer, std::size_t buffer_size, int n);
int get_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     char* buffer, std::size_t buffer_size);
int set_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     const char* value, int n);
int set_col_by_match(Tcfg* cfg, int key_col, const char* key, int value_col, const char* delimiters,
                     const char* value);
