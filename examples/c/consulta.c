/*
 * The shortest call: asks whether the device works. Ends with 0 when it answered.
 */
#include <stdio.h>
#include <string.h>

#include "zantir.h"

int main(void) {
    /* The library's own buffer, which the next call overwrites: copy what you keep, never free it. */
    const char* reply = ConsultarSAT(1);
    puts(reply);
    return strncmp(reply, "SAT Erro[", 9) == 0; /* a device's reply never begins so */
}
