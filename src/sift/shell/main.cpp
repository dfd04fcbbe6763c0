#include <cstdio>
int main() { std::puts("sift starts"); return 0; }
