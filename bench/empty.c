/* The reference program: does nothing. Linked statically. */
int main(void) { return 0; }
