// The two CGI handlers that reach an FTP server from the web interface.
#pragma once

// nxftpbinget.cgi: downloads up to eight files of a comma list in binary
// type from the given server into a local directory.
int NxCgi_FtpBinGetCgifunc(char* err_msg);
// nxftpmkdir.cgi: tries the server of an upload service (sig or dur) by
// making the directories of its naming scheme in its base directory, or by
// uploading the test file.
int NxCgi_FtpMkDirCgifunc(char* err_msg);
