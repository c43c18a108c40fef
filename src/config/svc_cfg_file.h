// The process-wide service images: one buffer per service holding the last
// loaded contents of that service's file (for whichever module was loaded
// last). Handlers load an image, edit it (through a working copy) and save
// it whole.
#pragma once

#include <cstdint>
#include <span>

#include "config/svc_files.h"

// Loads the service's file of the module into its image, holding the file's
// edit lock until the save (or the process end), and yields the
// address, inside the image, of the condition table of the entry (ids 3, 7
// and 8: the record's only table, whatever the entry). Null for an id
// outside 0..8 and for a missing or short file (the image may then hold a
// partial read). Callers pass entries 0..3; an entry whose table would lie
// outside the record (negative, or past the fourth port) also yields null.
std::uint8_t* LoadSvcCfgFile(int module_id, int service_id, int entry_index);

// Writes the whole image to the module's file: the file size, or -1 on
// failure or for an id outside 0..8 (nothing written then).
int SaveSvcCfgFile(int module_id, int service_id);

// Gives up the edit lock LoadSvcCfgFile took, for a caller that only reads.
void EndSvcCfgEdit(int module_id, int service_id);

// The image of a service (exactly the file's size); empty for a bad id.
std::span<std::uint8_t> SvcImage(int service_id);

// Zeroes every image, as a new process has them (in-process tests).
void ClearSvcImages();
