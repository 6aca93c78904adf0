// When a statement does not compile, the machine's compiler jumps out of it past its own destructors.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:SQCompiler\n";
}
