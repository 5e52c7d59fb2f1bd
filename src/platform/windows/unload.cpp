/*
 * The library's end.
 */
#include "unload.h"

#include <windows.h>

/**
 * The system tells when the library is unloaded (`reserved` is NULL then) and when the process ends. What is
 * left behind by the former is out of everybody's reach: a program that loads the library anew for each sale
 * would run out of handles within days. At the end of the process other threads may have died in the middle
 * of what this would touch.
 */
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        CloseLeftAppend();
        LeaveDevices();
    }
    return TRUE;
}
