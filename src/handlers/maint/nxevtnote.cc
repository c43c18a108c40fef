// nxevtnote.cgi: logs an event note on standard error.
#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"

namespace {

struct NoteField {
  const char* name;
  std::size_t size;  // room in the note, terminator included
};

// Longer values are cut to the room of their note field.
constexpr NoteField kNoteFields[] = {{"Evt", 8}, {"Valu1", 12}, {"Valu2", 12}, {"Valu3", 12}};
constexpr std::size_t kNoteFieldCount = std::size(kNoteFields);
constexpr std::size_t kLargestNoteField = 12;

}  // namespace

int NxCgi_EvtNoteFunc(char*) {
  char notes[kNoteFieldCount][kLargestNoteField] = {};
  CgiPrintContentType("text/html");

  for (std::size_t i = 0; i < kNoteFieldCount; ++i) {
    char value[kFieldBufferSize];
    if (!ReadGivenField(kNoteFields[i].name, value)) continue;
    std::strncpy(notes[i], value, kNoteFields[i].size - 1);
    notes[i][kNoteFields[i].size - 1] = '\0';
  }
  std::fprintf(stderr, "Evt=%s, Valu1=%s, Valu2,=%s, Valu3=%s\n", notes[0], notes[1], notes[2], notes[3]);
  return 1;
}
