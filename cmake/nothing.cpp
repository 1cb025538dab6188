// The program whose only use is that others share the headers parsed for it.
int main() {}
