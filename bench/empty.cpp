// What a process costs before it does anything: peak memory is counted from here.
int main() {}
