/*
 * The shortest call: asks whether the device works. Ends with 0 when it answered.
 */
#include <iostream>

#include "zantir.hpp"

int main() {
    try {
        zantir::Sat sat;
        const zantir::Reply reply = ZANTIR_CALL_BY_NAME(sat, ConsultarSAT, zantir::NewSession());
        std::cout << reply.Code() << ' ' << reply.Message() << '\n';
        return 0;
    } catch (const std::exception& error) {  // not loaded, or not reached
        std::cout << error.what() << '\n';
        return 1;
    }
}
