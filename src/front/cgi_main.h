// Process entry: reads the request from the CGI environment, builds the form,
// dispatches by program name and frees the form.
#pragma once

// Returns the exit status: the dispatcher's result, or -1 (with nothing
// written) when the form could not be read.
int CgiMain(int argc, char** argv);
