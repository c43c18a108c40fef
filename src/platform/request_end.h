// What a request starts must not outlive it: the shell commands it runs and
// the private queue it waits on for a reply. Both end when the request
// finishes and when it is ended by SIGTERM, SIGHUP, SIGINT or SIGPIPE (a web
// server ends a CGI process so when the browser goes away).
//
// The commands run in the request's own process group (the request leads
// one from its first command on), and the whole group is sent SIGTERM at the
// end: a child left running (a command in the background, a stuck one)
// ends with the request. A program meant to outlive the request leaves the
// group itself, as daemons do (setsid, start-stop-daemon --background).
#pragma once

namespace platform {

// Makes this process lead its own process group, once, and ends the group's
// other processes when the process ends.
void EndCommandsWithRequest();

// Removes the System V message queue if the request ends before
// ForgetQueueAtEnd (the request removes it itself on every other path).
void RemoveQueueAtEnd(int queue_id);
void ForgetQueueAtEnd();

}  // namespace platform
