// Maintenance handlers: held-image clean-up, text files, event notes, the
// auxiliary service and shell commands.
#pragma once

// nxiholdcln.cgi: deletes the held images of one module's port.
int NxCgi_IholdClnFunc(char* err_msg);
// nxsettextfile.cgi: writes a text file, then optionally runs a command.
int NxCgi_SetTextFileFunc(char* err_msg);
// nxevtnote.cgi: logs an event note on standard error.
int NxCgi_EvtNoteFunc(char* err_msg);
// nxadvsvc.cgi: starts or stops the advsvc init script.
int NxCgi_AdvSvcFunc(char* err_msg);
// nxdosyscmd.cgi: runs shell commands, optionally returning one's output.
int NxCgi_DoSysCmdFunc(char* err_msg);
