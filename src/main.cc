#include "front/cgi_main.h"

int main(int argc, char** argv) { return CgiMain(argc, argv); }
