#include "cgi/cgi_request.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/numbers.h"

namespace {

CgiFormEntry* g_form_head = nullptr;
CgiFormEntry* g_form_tail = nullptr;

// A malformed escape decodes its non-digits as 0.
int EscapeDigit(unsigned char byte) {
  const int value = platform::HexDigitValue(static_cast<char>(byte));
  return value < 0 ? 0 : value;
}

int CopyValue(const CgiFormEntry* entry, char* buffer, int size, bool keep_line_breaks) {
  if (size < 1) return CGI_FIELD_TRUNCATED;
  if (entry == nullptr) {
    buffer[0] = '\0';
    return CGI_FIELD_NOT_FOUND;
  }
  const int room = size - 1;
  int length = 0;
  int carriage_returns = 0;
  int line_feeds = 0;
  bool truncated = false;
  for (const char* next = entry->value;; ++next) {
    const char byte = *next;
    if (byte == '\r') {
      ++carriage_returns;
      continue;
    }
    if (byte == '\n') {
      ++line_feeds;
      continue;
    }
    if (keep_line_breaks) {
      const int breaks = carriage_returns > line_feeds ? carriage_returns : line_feeds;
      for (int i = 0; i < breaks; ++i) {
        if (length < room) {
          buffer[length++] = '\n';
        } else {
          truncated = true;
        }
      }
    }
    carriage_returns = 0;
    line_feeds = 0;
    if (byte == '\0') {
      buffer[length] = '\0';
      break;
    }
    if (length >= room) {
      buffer[length] = '\0';
      return CGI_FIELD_TRUNCATED;
    }
    buffer[length++] = byte;
  }
  if (truncated) return CGI_FIELD_TRUNCATED;
  return length == 0 ? CGI_FIELD_EMPTY : CGI_FIELD_OK;
}

bool AppendEntry(char* name, char* value) {
  auto* entry = static_cast<CgiFormEntry*>(std::malloc(sizeof(CgiFormEntry)));
  if (entry == nullptr) return false;
  *entry = CgiFormEntry{name, value, nullptr};
  if (g_form_tail == nullptr) {
    g_form_head = entry;
  } else {
    g_form_tail->next = entry;
  }
  g_form_tail = entry;
  return true;
}

}  // namespace

int CgiGetField(const char* name, char* buffer, int size) {
  return CopyValue(CgiFindEntry(name), buffer, size, false);
}

int CgiGetTextField(const char* name, char* buffer, int size) {
  return CopyValue(CgiFindEntry(name), buffer, size, true);
}

int CgiGetEntryValue(const CgiFormEntry* entry, char* buffer, int size) {
  return CopyValue(entry, buffer, size, false);
}

void CgiPrintContentType(const char* type) { std::printf("Content-type: %s\r\n\r\n", type); }

CgiFormEntry* CgiFindEntry(const char* name) {
  for (CgiFormEntry* entry = g_form_head; entry != nullptr; entry = entry->next) {
    if (std::strcmp(entry->name, name) == 0) return entry;
  }
  return nullptr;
}

int CgiUnescape(const char* source, std::size_t length, char** decoded) {
  char* out = static_cast<char*>(std::malloc(length + 1));
  if (out == nullptr) return 1;
  enum class State { kPlain, kFirstDigit, kSecondDigit } state = State::kPlain;
  int high = 0;
  std::size_t written = 0;
  for (std::size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(source[i]);
    switch (state) {
      case State::kPlain:
        if (byte == '%') {
          state = State::kFirstDigit;
        } else {
          out[written++] = byte == '+' ? ' ' : static_cast<char>(byte);
        }
        break;
      case State::kFirstDigit:
        high = EscapeDigit(byte) * 16;
        state = State::kSecondDigit;
        break;
      case State::kSecondDigit:
        out[written++] = static_cast<char>(high + EscapeDigit(byte));
        state = State::kPlain;
        break;
    }
  }
  out[written] = '\0';
  *decoded = out;
  return 0;
}

int CgiParseForm(const char* data, std::size_t length) {
  const char* const end = data + length;
  const char* position = data;
  while (position < end) {
    const auto* equals = static_cast<const char*>(std::memchr(position, '=', end - position));
    if (equals == nullptr) return 0;
    char* name = nullptr;
    if (CgiUnescape(position, equals - position, &name) != 0) return 1;
    const char* value_start = equals + 1;
    const auto* ampersand = static_cast<const char*>(std::memchr(value_start, '&', end - value_start));
    const char* value_end = ampersand != nullptr ? ampersand : end;
    char* value = nullptr;
    if (CgiUnescape(value_start, value_end - value_start, &value) != 0) {
      std::free(name);
      return 1;
    }
    if (!AppendEntry(name, value)) {
      std::free(name);
      std::free(value);
      return 1;
    }
    if (ampersand == nullptr || ampersand == end - 1) return 0;
    position = ampersand + 1;
  }
  return 0;
}

void CgiFreeForm() {
  CgiFormEntry* entry = g_form_head;
  while (entry != nullptr) {
    CgiFormEntry* next = entry->next;
    std::free(entry->name);
    std::free(entry->value);
    std::free(entry);
    entry = next;
  }
  g_form_head = nullptr;
  g_form_tail = nullptr;
}

int CgiStrEqNoCase(const char* left, const char* right) {
  for (;; ++left, ++right) {
    unsigned char a = static_cast<unsigned char>(*left);
    unsigned char b = static_cast<unsigned char>(*right);
    if (a >= 'A' && a <= 'Z') a = static_cast<unsigned char>(a - 'A' + 'a');
    if (b >= 'A' && b <= 'Z') b = static_cast<unsigned char>(b - 'A' + 'a');
    if (a != b) return 0;
    if (a == '\0') return 1;
  }
}

CgiFormEntry* CgiFormHead() { return g_form_head; }
