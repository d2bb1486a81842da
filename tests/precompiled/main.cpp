// Carries precompiled headers for other programs.
int main() {}
