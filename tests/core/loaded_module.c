/* The module that entry_points_test.cpp loads at run time. */
#if defined(_WIN32)
__declspec(dllexport)
#endif
    int ke_answer(void);

int ke_answer(void) {
    return 42;
}
