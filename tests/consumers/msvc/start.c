/* Starts a program as Microsoft's start-up code does, as far as it matters here: it runs the initialisers, then
   main(), and installs no handler for invalid parameters, so a runtime function that receives one ends the process. */
#include <stdlib.h>

int main(void);
int _fltused = 1;

typedef void (*Initialiser)(void);
#pragma section(".CRT$XCA", read)
#pragma section(".CRT$XCZ", read)
__declspec(allocate(".CRT$XCA")) const Initialiser ke_first_initialiser = 0;
__declspec(allocate(".CRT$XCZ")) const Initialiser ke_last_initialiser = 0;

void mainCRTStartup(void) {
    const Initialiser* volatile from = &ke_first_initialiser;
    const Initialiser* volatile to = &ke_last_initialiser;
    for (const Initialiser* each = from + 1; each < to; ++each) {
        if (*each != 0)
            (*each)();
    }
    exit(main());
}
