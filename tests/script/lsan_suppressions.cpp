// The machine's compiler leaves a statement that fails to compile by a jump past its own destructors.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:SQCompiler\n";
}
