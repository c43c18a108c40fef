// Whole-file read and write of the binary configuration files, of a module
// (NxModId<m> below the configuration root) or of the root itself (module
// id -1). Paths are device paths; the platform layer maps them below the
// host root on a developer's PC.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The configuration root and the module directory name format.
inline constexpr const char* kCfgRootDir = "/opt/vsb/etc/NxConf";
inline constexpr const char* kCfgModuleDirFormat = "/NxModId%d";
inline constexpr int kCfgRootModule = -1;

// Reads at most buffer.size() bytes from the start of the file: the count
// read (0..size), or -1 when the file can't be opened. Prints nothing.
int CfgFileRead(int module_id, const char* file_name, std::span<std::uint8_t> buffer);

// CfgFileRead of a file the caller is going to rewrite: the file's edit lock
// is taken first (platform/file_lock.h), so that the save that follows
// writes over exactly what was read; -1 when another request kept the lock
// past the wait. The lock ends with the save (or the process).
int CfgFileReadForEdit(int module_id, const char* file_name, std::span<std::uint8_t> buffer);

// CfgFileReadForEdit of a whole record into its image: true only when the
// file filled the image (a short or missing file is refused).
bool CfgFileLoadRecord(int module_id, const char* file_name, std::span<std::uint8_t> image);

// A part of a record for an edit of that part only: locks the file for the
// edit and reads slice.size() bytes at `offset`; true only when the file
// holds a whole record of `record_size` bytes. CfgFilePatch saves it.
bool CfgFileLoadSlice(int module_id, const char* file_name, std::size_t record_size, std::size_t offset,
                      std::span<std::uint8_t> slice);

// Ends the edit lock of CfgFileReadForEdit without saving.
void CfgFileEndEdit(int module_id, const char* file_name);

// Creates the module directory (and missing parents) when needed, then
// creates or truncates the file and writes the bytes: bytes.size() on
// success, -1 on failure ("dir %s make error\n" or " File %s is not opened
// errno = %08x\n" on standard output, which is the response body).
int CfgFileWrite(int module_id, const char* file_name, std::span<const std::uint8_t> bytes);

// Saves a record of `record_size` bytes that differs from the file only in
// the slice at `offset` (platform::PatchConfigFile): as CfgFileWrite, with
// its messages, for a file that exists.
int CfgFilePatch(int module_id, const char* file_name, std::size_t record_size, std::size_t offset,
                 std::span<const std::uint8_t> slice);

// Makes every missing directory of an absolute device path with mode 0755:
// 0 when all exist at the end, -1 at the first one that could not be made
// (those made so far stay).
int MakeCfgDirPath(const char* device_path);
