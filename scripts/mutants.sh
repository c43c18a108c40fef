#!/usr/bin/env bash
# Measures what the tests find: applies each small fault of the list below to
# the product, one at a time, rebuilds incrementally (preset host, in
# build-mutants/), runs the host tests but the browser test, and prints a
# table of killed and survived faults and a last line "N killed, M survived".
#
# Usage: bash scripts/mutants.sh [ID...]   (all mutants by default)
#
# It refuses to run on a tree with uncommitted changes, and puts every
# mutated file back after its mutant, also when it is interrupted. A test
# that runs longer than 120 s counts as failing (a fault that hangs). A
# mutant that does not build is listed apart, and the script then fails.
#
# A mutant is a header line "== ID FILE | what it does" followed by "- " and
# the exact text to replace (it must stand once in the file) and "+ " and its
# replacement (empty: the text is dropped).
set -euo pipefail
cd "$(dirname "$0")/.."

if [ -n "$(git status --porcelain --untracked-files=no)" ]; then
  echo "mutants.sh: the tree has uncommitted changes; commit or stash them first" >&2
  exit 2
fi

read -r -d '' MUTANTS <<'EOF' || true
== form01 src/cgi/cgi_request.cc | a plus is not decoded as a blank
- out[written++] = byte == '+' ? ' ' : static_cast<char>(byte);
+ out[written++] = static_cast<char>(byte);
== form02 src/cgi/cgi_request.cc | the first escape digit weighs ten
- high = EscapeDigit(byte) * 16;
+ high = EscapeDigit(byte) * 10;
== form03 src/cgi/cgi_request.cc | an empty value counts as given
- return length == 0 ? CGI_FIELD_EMPTY : CGI_FIELD_OK;
+ return CGI_FIELD_OK;
== form04 src/cgi/cgi_request.cc | line breaks in text fields follow the LF count only
- const int breaks = carriage_returns > line_feeds ? carriage_returns : line_feeds;
+ const int breaks = line_feeds;
== form05 src/front/cgi_main.cc | a POST of any content type is parsed
- if (CgiStrEqNoCase(content_type, "application/x-www-form-urlencoded") && content_length != 0) {
+ if (content_type != nullptr && content_length != 0) {
== vocab01 src/cgi/form_fields.h | version 2 is accepted
- return version.given && version.value <= 1;
+ return version.given && version.value <= 2;
== vocab02 src/cgi/form_fields.cc | ids keep 8 bits instead of 16
- if (low16) field.value &= 0xffff;
+ if (low16) field.value &= 0xff;
== vocab03 src/platform/numbers.cc | a decimal above the 32-bit range wraps to the minimum
- if (value > INT32_MAX) return INT32_MAX;
+ if (value > INT32_MAX) return INT32_MIN;
== vocab04 src/cgi/form_fields.cc | HexStrToNum skips no prefix
- if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
+ if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 0;
== vocab05 src/cgi/nx_cgi_util.cc | compare-and-update reports an unchanged value as a change
- if (converted == *target) return 0;
+ if (converted == *target) return 1;
== vocab06 src/cgi/nx_cgi_util.cc | a string target is cut one byte short
- const std::size_t copied = length < size ? length : size - 1;
+ const std::size_t copied = length < size ? length : size - 2;
== vocab07 src/cgi/form_fields.h | id 3 is refused
- return id.given && id.value <= kLastId;
+ return id.given && id.value < kLastId;
== epi01 src/front/response_epilogue.cc | NxMkChg removes the change mark
- const int fd = platform::OpenFixedFileForWrite(mark.c_str(), false);
+ const int fd = unlink(mark.c_str()) - 1;
== epi02 src/front/response_epilogue.cc | a relative RetPage is not joined with a slash
- if (ret_page[0] != '/') page_path.Append("/");
+
== epi03 src/front/response_epilogue.cc | any value starting with Y counts as YES
- return ReadGivenField(name, value) && std::strcmp(value, "YES") == 0;
+ return ReadGivenField(name, value) && std::strncmp(value, "YES", 1) == 0;
== epi04 src/front/response_epilogue.cc | an id written as submitted lacks its semicolon
- std::printf("var %s = %s;\n", variable, id);
+ std::printf("var %s = %s\n", variable, id);
== epi05 src/front/response_epilogue.cc | every id is written as submitted
- if (plain) {
+ if (true) {
== epi06 src/front/response_epilogue.cc | a page outside the web root is read
- page_text.starts_with(root_text) && page_text[root_text.size()] == '/';
+ true;
== epi07 src/front/response_epilogue.cc | a redirect to //host counts as the site
- if (url.starts_with('/')) return !url.starts_with("//");
+ if (url.starts_with('/')) return true;
== epi08 src/front/response_epilogue.cc | a tab in a redirect target is kept
- if (c == '\t' || c == '\n' || c == '\r') continue;
+ if (c == '\n' || c == '\r') continue;
== esc01 src/cgi/answer_text.cc | a quote in a script string is not escaped
- if (c == '\\' || c == '"') {
+ if (c == '\\') {
== esc02 src/cgi/answer_text.cc | "</" is written into a script string as it is
- std::fputs("<\\", stdout);
+ std::fputs("<", stdout);
== disp01 src/front/dispatcher.cc | a result of 0 runs the epilogue
- if (result == 0) return 0;
+ if (result == 0) return CgiResponseEpilogue(cgi_name);
== disp02 src/front/dispatcher.cc | the CGI name keeps its slash
- const char* cgi_name = slash != nullptr ? slash + 1 : argv[0];
+ const char* cgi_name = slash != nullptr ? slash : argv[0];
== svc01 src/handlers/service/svc_settings.cc | a category above 6 becomes 0 (not above 5)
- if (setting.rule == SettingsRule::kCategory && number > 5) number = 0;
+ if (setting.rule == SettingsRule::kCategory && number > 6) number = 0;
== svc02 src/handlers/service/svc_settings.cc | the cap lets one more through
- if (stored > setting.limit) config::StoreNumber(block, field, setting.limit);
+ if (stored > setting.limit + 1) config::StoreNumber(block, field, setting.limit);
== svc03 src/handlers/service/svc_settings.cc | the empty-keeps rule is inverted
- } else if (result == CGI_FIELD_EMPTY && setting.rule != SettingsRule::kEmptyKeeps) {
+ } else if (result == CGI_FIELD_EMPTY && setting.rule == SettingsRule::kEmptyKeeps) {
== svc04 src/handlers/service/svc_settings.cc | a stored 0 stays 0
- if (stored == 0) config::StoreNumber(block, field, 1);
+
== svc05 src/handlers/service/svc_settings_rows.cc | the mail image count caps at 11
- Number(config::kMailPortEntry, "ImageCount", R::kCapAt, 10),
+ Number(config::kMailPortEntry, "ImageCount", R::kCapAt, 11),
== svc06 src/handlers/service/svc_settings.cc | the queue count is capped from below
- if (stored > config::LoadNumber(block, setting.cap)) {
+ if (stored < config::LoadNumber(block, setting.cap)) {
== svc07 src/handlers/service/svc_settings.cc | the service file is not saved
- SaveSvcCfgFile(ids.module, handler.service_id);
+
== cond01 src/handlers/service/nxcondcfg.cc | a missing start month becomes 0
- Field("SMon", WhenNotGiven::kMinusOne),
+ Field("SMon", WhenNotGiven::kZero),
== cond02 src/handlers/service/nxcondcfg.cc | condition 3 is accepted
- condition < 0 || condition > 2) {
+ condition < 0 || condition > 3) {
== cond03 src/handlers/service/nxcondcfg.cc | the fixed words are not written
- if (field.role != config::FieldRole::kFixed) continue;
+ continue;
== buf01 src/handlers/service/nxibufdev.cc | the port's pause goes to its depth
- ApplyFormNumber(copy.bytes(), kPauseTime.At(port.value), "PerPauseTime");
+ ApplyFormNumber(copy.bytes(), kBuffDepth.At(port.value), "PerPauseTime");
== buf02 src/handlers/service/nxrdskbuff.cc | a negative ratio is stored
- if (!ReadFormNumber(name, &value) || static_cast<int32_t>(value) < 0) continue;
+ if (!ReadFormNumber(name, &value)) continue;
== buf03 src/handlers/service/nxrdskbuff.cc | unchanged ratios clear the derived tables
- if (!changed) return 1;
+ (void)changed;
== buf04 src/handlers/service/nxdialup.cc | the medium is read from a misspelt field
- ApplyFormNumber(g_dial_up_image, kMediaType, "MediaType");
+ ApplyFormNumber(g_dial_up_image, kMediaType, "Mediatype");
== ptz01 src/handlers/service/nxptz.cc | a negative device id selects no model
- if (model < 0) model = 0;
+
== ptz02 src/handlers/service/nxptz.cc | 4800 baud is missing from the table
- constexpr int32_t kPtzBaudRates[] = {0,     110,   300,   1200,   2400,   4800,   9600,
+ constexpr int32_t kPtzBaudRates[] = {0,     110,   300,   1200,   2400,   4801,   9600,
== ptz03 src/handlers/service/nxptz.cc | the line mode default is taken when it was not asked for
- if (config::LoadNumber(conf, kLineMode) == kModelDefault) {
+ if (config::LoadNumber(conf, kLineMode) != kModelDefault) {
== ptz04 src/handlers/service/nxptz.cc | the change mark holds module 1's base address
- std::fprintf(mark, "%d\n", static_cast<int>(config::LoadNumber(g_ptz_image, Module(0).Then(kBaseAddr))));
+ std::fprintf(mark, "%d\n", static_cast<int>(config::LoadNumber(g_ptz_image, Module(1).Then(kBaseAddr))));
== ptz05 src/handlers/service/nxptz.cc | the camera control daemon gets SIGUSR1
- constexpr int kCamctldSignal = 12;
+ constexpr int kCamctldSignal = 10;
== ptz06 src/handlers/service/nxptz.cc | an absent preset name clears it, an empty one does not
- } else if (result == CGI_FIELD_EMPTY) {
+ } else if (result == CGI_FIELD_NOT_FOUND) {
== ptz07 src/handlers/service/nxptz.cc | a model needs one byte more than it is read
- constexpr uint32_t kModelWordsEnd = kDefaultLineMode.offset + kDefaultLineMode.width;
+ constexpr uint32_t kModelWordsEnd = kDefaultLineMode.offset + kDefaultLineMode.width + 1;
== sns01 src/handlers/service/nxsnsset.cc | type 4 takes no field set
- case 4:
+ case 5:
== sns02 src/handlers/service/nxsnsset.cc | the stream length is not recomputed
- config::StoreNumber(conf, kInitStreamLength, config::LoadText(conf, kInitStream).size());
+
== sns03 src/handlers/service/nxsnsset.cc | a model number equal to the count is kept
- static_cast<int32_t>(given) < model_count ? given : -1
+ static_cast<int32_t>(given) <= model_count ? given : -1
== cat01 src/config/catalogue.cc | only a size of 0 ends the walk
- if (size < shape.fixed_size) {
+ if (size == 0) {
== cat02 src/config/catalogue.cc | a record read exactly as far as needed is dropped
- if (left < needed) {
+ if (left <= needed) {
== cat03 src/config/catalogue.cc | a root catalogue filling the buffer is taken
- if (count >= min_size && count < capacity) return count;
+ if (count >= min_size && count <= capacity) return count;
== uoc01 src/handlers/device/nxuoutctr.cc | the reply wait starts at 2 s
- constexpr unsigned kReplyBaseWaitMs = 3000;
+ constexpr unsigned kReplyBaseWaitMs = 2000;
== uoc02 src/handlers/device/nxuoutctr.cc | the reply wait has no cap
- return wait < kReplyMaxWaitMs ? wait : kReplyMaxWaitMs;
+ return wait;
== uoc03 src/handlers/device/nxuoutctr.cc | a numeric data piece sends its first character
- ? static_cast<uint8_t>(StrToNum(piece))
+ ? static_cast<uint8_t>(piece[0])
== uoc04 src/handlers/device/nxuoutctr.cc | the reply queue is left behind
- MsgQRemove(reply_queue);
+
== uoc05 src/handlers/device/nxuoutctr.cc | a reply length beyond the bytes received is reported
- if (received < 0 || received > reply_size - static_cast<int>(config::kUartOutData)) {
+ if (received < 0) {
== uoc06 src/handlers/device/nxuoutctr.cc | a timed-out request stays in the service's queue
- if (!taken && queued.Get(config::kUartOutRetMsgQId) == reply_queue) {
+ if (!taken && queued.Get(config::kUartOutRetMsgQId) == reply_queue + 1) {
== uoc07 src/platform/msg_queue.cc | the send waits for room in a full queue
- if (msgsnd(msgq_id, &host, text_size, IPC_NOWAIT) == 0) return 0;
+ if (msgsnd(msgq_id, &host, text_size, 0) == 0) return 0;
== end01 src/platform/request_end.cc | the commands' group outlives the request
- kill(0, SIGTERM);
+
== end02 src/platform/request_end.cc | a signal leaves the reply queue behind
- if (g_queue >= 0) msgctl(g_queue, IPC_RMID, nullptr);
+
== dev01 src/handlers/device/nxuoutset.cc | the parity is stored as a number
- {"ParityBit", config::MustFind(config::kUartOutConf, "ParityBit"), true},
+ {"ParityBit", config::MustFind(config::kUartOutConf, "ParityBit"), false},
== dev02 src/handlers/device/nxuartset.cc | a missing port mode is a dash
- return ReadGivenField(name, value) ? value[0] : '.';
+ return ReadGivenField(name, value) ? value[0] : '-';
== dev03 src/handlers/device/nxcamgpctl.cc | pulse mode 1 starts with the code itself
- {1, Action::kPulse, true, 0xFF},
+ {1, Action::kPulse, false, 0xFF},
== dev04 src/handlers/device/nxcamgpctl.cc | the default pulse is 10 ms
- constexpr uint32_t kDefaultPulseMicroseconds = 100000;
+ constexpr uint32_t kDefaultPulseMicroseconds = 10000;
== dev05 src/handlers/device/nxesmtaset.cc | the mail service flag is stored as given
- {"Service", "SERVICE", OnEmpty::kKeep, Value::kYesNo},
+ {"Service", "SERVICE", OnEmpty::kKeep, Value::kAsGiven},
== dev06 src/handlers/device/nxesmtaset.cc | three mail recipients instead of four
- {"Recipient", "RECIPIENT", OnEmpty::kClear, Value::kAsGiven, 4},
+ {"Recipient", "RECIPIENT", OnEmpty::kClear, Value::kAsGiven, 3},
== dev07 src/handlers/device/nxisensconf.cc | a new peer port alone saves nothing
- changed |= CgiCheckFieldOfUShortType(&cfg->ce_udp_port, "CeUdpPort", err_msg);
+ CgiCheckFieldOfUShortType(&cfg->ce_udp_port, "CeUdpPort", err_msg);
== dev08 src/config/sensor_link_file.cc | the default port of this side is 12003
- constexpr uint16_t kDefaultNeUdpPort = 12002;
+ constexpr uint16_t kDefaultNeUdpPort = 12003;
== dev09 src/handlers/device/nxchghwoption.cc | a replacement reaching the end is refused
- if (product_length < offset + replacement.size()) {
+ if (product_length <= offset + replacement.size()) {
== dev10 src/platform/pid_file.cc | a pid beyond INT_MAX wraps
- if (value > INT_MAX) return false;
+
== maint01 src/handlers/maint/nxiholdcln.cc | the held images are looked for in the wrong folder
- held.AppendFormat("/tmp/advbuf/keep/mod%d/hold/port%d", static_cast<int>(module.value),
+ held.AppendFormat("/tmp/advbuf/keep/mod%d/held/port%d", static_cast<int>(module.value),
== maint02 src/handlers/maint/nxdosyscmd.cc | the first command runs in the background
- const bool background = mode == kLastInBackground && i + 1 == commands.count;
+ const bool background = mode == kLastInBackground && i == 0;
== maint03 src/handlers/maint/nxdosyscmd.cc | fifteen commands at most
- constexpr std::size_t kMaxCommands = 16;
+ constexpr std::size_t kMaxCommands = 15;
== maint04 src/handlers/maint/nxevtnote.cc | the event name keeps eight characters
- constexpr NoteField kNoteFields[] = {{"Evt", 8}, {"Valu1", 12}, {"Valu2", 12}, {"Valu3", 12}};
+ constexpr NoteField kNoteFields[] = {{"Evt", 9}, {"Valu1", 12}, {"Valu2", 12}, {"Valu3", 12}};
== maint05 src/handlers/maint/nxsettextfile.cc | a missing file is created without CreateOption
- if (create_option == 0 && stat(platform::MapPath(path).c_str(), &status) != 0) {
+ if (create_option == 1 && stat(platform::MapPath(path).c_str(), &status) != 0) {
== maint06 src/handlers/maint/nxadvsvc.cc | no pause after the start script
- platform::SleepSeconds(1);
+
== ftph01 src/handlers/ftp/nxftpbinget.cc | seven files at most
- constexpr int kMaxFiles = 8;
+ constexpr int kMaxFiles = 7;
== ftph02 src/handlers/ftp/nxftpmkdir.cc | an empty server address is tried
- if (host.empty()) {
+ if (false) {
== ftph03 src/ftp/ftp_ops.cc | the day scheme ends at the 30th
- {kDirSchemeDays, kFirstDays, "%dth", 4, 31},
+ {kDirSchemeDays, kFirstDays, "%dth", 4, 30},
== ftp01 src/ftp/client/ftp_reply.cc | the reply code takes two digits
- if (count < 4 && std::isdigit(c)) s->reply_code = s->reply_code * 10 + (c - '0');
+ if (count < 3 && std::isdigit(c)) s->reply_code = s->reply_code * 10 + (c - '0');
== ftp02 src/ftp/client/ftp_reply.cc | a continuation mark is looked for at the third byte
- if (count == 4 && c == '-') {
+ if (count == 3 && c == '-') {
== ftp03 src/ftp/client/ftp_data_conn.cc | the passive port's high byte weighs 255
- s->data_addr.sin_port = htons(static_cast<uint16_t>(p1 * 256 + p2));
+ s->data_addr.sin_port = htons(static_cast<uint16_t>(p1 * 255 + p2));
== ftp04 src/ftp/client/ftp_recv.cc | an ASCII download counts no bare line feeds
- if (c == '\n') ++bare_linefeeds;
+
== ftp05 src/ftp/client/ftp_unique_name.cc | unique names stop at .98
- constexpr int kMaxTries = 99;
+ constexpr int kMaxTries = 98;
== ftp06 src/ftp/client/ftp_reply.cc | a wait with a limit of its own ignores the deadline
- if (left <= 0) return 0;
+ if (seconds > 0) return seconds * 1000;
+ if (left <= 0) return 0;
== ftp07 src/ftp/client/ftp_data_conn.cc | an active data connection is taken from any address
- if (from.sin_addr.s_addr != s->peer_addr.sin_addr.s_addr) {
+ if (false) {
== tcfg01 src/config/text/tcfg_lookup.cc | a tab does not separate a key
- return separator == '=' || separator == ' ' || separator == '\t';
+ return separator == '=' || separator == ' ';
== tcfg02 src/config/text/tcfg_lookup.cc | a semicolon does not end a value
- return c == '\0' || c == ';' || c == '"' || c == '\'' || c == '#' || c == '\r';
+ return c == '\0' || c == '"' || c == '\'' || c == '#' || c == '\r';
== tcfg03 src/config/text/tcfg_text.cc | the kept tail is one character shorter
- constexpr std::size_t kMaxSpliceTail = 127;
+ constexpr std::size_t kMaxSpliceTail = 126;
== tcfg04 src/config/text/tcfg_util.cc | saved rows end in a blank
- next[length] = '\n';
+ next[length] = ' ';
== tcfg05 src/config/text/tcfg_lookup.cc | a quoted column keeps its quote
- const char* start = IsQuote(*p) ? p + 1 : p;
+ const char* start = p;
== tcfg06 src/config/text/tcfg_field_util.cc | integer lines get blanks around the equals sign
- const int written = std::snprintf(line, sizeof line, "%s=%d", name, static_cast<int>(value));
+ const int written = std::snprintf(line, sizeof line, "%s = %d", name, static_cast<int>(value));
== rec01 src/platform/le_bytes.h | a 16-bit load shifts its high byte by 7
- return static_cast<std::uint16_t>(bytes[offset] | (bytes[offset + 1] << 8));
+ return static_cast<std::uint16_t>(bytes[offset] | (bytes[offset + 1] << 7));
== rec02 src/platform/le_bytes.h | a text as long as its field is stored
- if (text.size() >= width) return false;
-   std::memcpy(bytes.data() + offset, text.data(), text.size());
-   bytes[offset + text.size()] = 0;
+ if (text.size() > width) return false;
+   std::memcpy(bytes.data() + offset, text.data(), text.size());
+   bytes[offset + text.size()] = 0;
== rec03 src/config/field_access.h | signed fields load without sign extension
- return platform::LoadI32(bytes, ref.offset);
+ return platform::LoadU32(bytes, ref.offset);
== rec04 src/config/svc_files.h | the condition table offset misses the port's condition offset
- return ports.offset + static_cast<std::uint32_t>(entry) * ports.stride + conds.offset;
+ return ports.offset + static_cast<std::uint32_t>(entry) * ports.stride + 0 * conds.offset;
== rec05 src/config/cfg_file.cc | a missing module directory is not made
- if (!DirectoryOpens(path.c_str()) && MakeCfgDirPath(path.c_str()) != 0) {
+ if (!DirectoryOpens(path.c_str())) {
== rec06 src/config/svc_cfg_file.cc | a fifth port entry is handed out
- if (ports.found() && (entry_index < 0 || entry_index >= static_cast<int>(ports.count))) return nullptr;
+ if (ports.found() && (entry_index < 0 || entry_index > static_cast<int>(ports.count))) return nullptr;
== wr01 src/platform/config_write.cc | the temporary file is not flushed
- while (fsync(temp.fd) != 0) {
+ while (false) {
== wr02 src/platform/config_write.cc | the old file's mode is not kept
- if (exists && !KeepAttributes(temp.fd, old)) return Fail(temp);
+ if (false && !KeepAttributes(temp.fd, old)) return Fail(temp);
== wr03 src/platform/config_write.cc | stale temporary files stay
- RemoveStaleTemps(split);
+ if (false) RemoveStaleTemps(split);
== wr04 src/platform/config_write.cc | a write error is not noticed
- if (!contents.patch) return WriteAll(temp_fd, contents.bytes, contents.size);
+ if (!contents.patch) return WriteAll(temp_fd, contents.bytes, contents.size) || true;
== wr05 src/platform/config_write.cc | a patch lands one byte late
- lseek(temp_fd, static_cast<off_t>(contents.offset), SEEK_SET) >= 0 &&
+ lseek(temp_fd, static_cast<off_t>(contents.offset + 1), SEEK_SET) >= 0 &&
== cfg01 src/config/cfg_file.cc | a record too short is edited in part
- const bool whole = fstat(fd, &status) == 0 && static_cast<std::size_t>(status.st_size) >= record_size &&
+ const bool whole = fstat(fd, &status) == 0 &&
== lock01 src/platform/file_lock.cc | an edit lock is waited for without end
- while (SecondsNow() < deadline) {
+ while (SecondsNow() < deadline + 1e9) {
== lock02 src/config/text/tcfg_util.cc | a text edit takes no lock
- if (platform::LockFileForEdit(path) == platform::EditLock::kBusy) {
+ if (false) {
== plat01 src/platform/command.cc | commands inherit HTTP_PROXY
- unsetenv("HTTP_PROXY");
+
== plat02 src/platform/command.cc | a quote inside a quoted word is not escaped
- Text(std::string_view(text.data(), quote)).Text("'\\''");
+ Text(std::string_view(text.data(), quote)).Text("'");
== plat03 src/platform/host_root.cc | /dev/null is mapped below the root
- return !device_path.empty() && device_path.front() == '/' && device_path != "/dev/null";
+ return !device_path.empty() && device_path.front() == '/';
== plat04 src/platform/gpio_lines.cc | GPIO lines are written without leading zeros
- const int length = std::snprintf(line, sizeof line, "0x%08x\n", pattern);
+ const int length = std::snprintf(line, sizeof line, "0x%x\n", pattern);
== plat05 src/platform/msg_queue.cc | a message of type 0 is sent
- if (type == 0) return -1;
+
== plat06 src/platform/product_strings.cc | the slot's start mark lacks its quote
- std::snprintf(start_mark, sizeof start_mark, "KVF_STR%d=\"", slot);
+ std::snprintf(start_mark, sizeof start_mark, "KVF_STR%d=", slot);
== file01 src/platform/file_patterns.cc | the first match of a pattern stays
- for (std::size_t i = 0; i < matches.gl_pathc; ++i)
+ for (std::size_t i = 1; i < matches.gl_pathc; ++i)
== file02 src/platform/regular_file.cc | a link at a mark's name is followed
- O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK
+ O_WRONLY | O_CREAT | O_NONBLOCK
== ftph04 src/handlers/ftp/nxftpmkdir.cc | the stored password is shown after a failed login
- ERROR", login.host, login.user, kHiddenPassword);
+ ERROR", login.host, login.user, login.password);
== pid01 src/platform/pid_file.cc | any process counts as the daemon
- return comm == daemon.substr(0, 15);
+ return !comm.empty() || daemon.empty();
== file03 src/platform/file_patterns.cc | held images are reached through links
- O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC
+ O_RDONLY | O_DIRECTORY | O_CLOEXEC
== lock03 src/handlers/device/nxisensconf.cc | the sensor link file is not held from load to save
- const platform::EditLockScope edit(kNxIsensNeCfgPath);
+
== ptz08 src/handlers/service/nxptz.cc | a later field of a preset name overwrites the first
- if (index < 0 || taken[static_cast<std::size_t>(index)]) continue;
+ if (index < 0) continue;
== tool01 src/tools/nxconf/record_access.cc | a u16 field takes 17 bits
- : ref.type == config::FieldType::kU16 ? 0xFFFF
+ : ref.type == config::FieldType::kU16 ? 0x1FFFF
EOF

build_dir=build-mutants
source scripts/lib/packages.sh
ensure_packages "${NXCGI_BUILD_PACKAGES[@]}" "${NXCGI_TEST_PACKAGES[@]}"
cmake --preset host -B "$build_dir" -DNXCGI_BROWSER_TESTS=OFF >/dev/null

# The loop: each mutated file is put back by git in a finally block, which
# also runs on Ctrl-C (KeyboardInterrupt) and on SIGTERM.
exec python3 - "$build_dir" "$MUTANTS" "$@" <<'PY'
import signal, subprocess, sys

build_dir, listing, selected = sys.argv[1], sys.argv[2], set(sys.argv[3:])

def parse(text):
    mutants = []
    for line in text.split("\n"):
        if line.startswith("== "):
            head, what = line[3:].split(" | ", 1)
            ident, path = head.split()
            mutants.append({"id": ident, "file": path, "what": what, "-": [], "+": []})
        elif line[:1] in ("-", "+") and line[1:2] in ("", " "):
            mutants[-1][line[0]].append(line[2:])
    return mutants

def quiet(*command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

def tests_pass(stop_on_failure):
    command = ["ctest", "--test-dir", build_dir, "-j2", "--timeout", "120", "-LE", "browser"]
    return quiet(*command, *(["--stop-on-failure"] if stop_on_failure else []))

def on_term(signum, frame):
    raise KeyboardInterrupt

signal.signal(signal.SIGTERM, on_term)
mutants = [m for m in parse(listing) if not selected or m["id"] in selected]
if not quiet("cmake", "--build", build_dir) or not tests_pass(False):
    sys.exit("mutants.sh: the unmutated tree does not build or does not pass its tests")

killed, survivors, broken = 0, [], []
print(f"{'mutant':<8} {'result':<9} what", flush=True)
try:
    for m in mutants:
        old, new = "\n".join(m["-"]), "\n".join(m["+"])
        original = open(m["file"]).read()
        if original.count(old) != 1:
            sys.exit(f"mutants.sh: {m['id']}: its text does not stand exactly once in {m['file']}")
        try:
            open(m["file"], "w").write(original.replace(old, new))
            built = quiet("cmake", "--build", build_dir)
            survived = built and tests_pass(True)
        finally:
            subprocess.run(["git", "checkout", "-q", "--", m["file"]], check=True)
        if not built:
            broken.append(m["id"])
        elif survived:
            survivors.append(m["id"])
        else:
            killed += 1
        result = "no build" if not built else "survived" if survived else "killed"
        print(f"{m['id']:<8} {result:<9} {m['what']}", flush=True)
except KeyboardInterrupt:
    sys.exit("mutants.sh: interrupted; the tree is restored")
finally:
    quiet("cmake", "--build", build_dir)  # leave build-mutants/ as the tree is
if survivors:
    print("survived: " + " ".join(survivors))
if broken:
    print("not built (mend the list): " + " ".join(broken))
print(f"{killed} killed, {len(survivors)} survived")
sys.exit(1 if broken else 0)
PY
