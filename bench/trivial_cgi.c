/* The reference CGI program: a fixed answer, linked statically. */
#include <stdio.h>

int main(void) {
  fputs("Content-type: text/html\r\n\r\n<html><body>ok</body></html>\n", stdout);
  return 0;
}
