// What freeglut and the program use besides MIDI. These calls are many and are not noted.
#include "stand_in.h"

extern "C" {

DWORD WINAPI timeGetTime() {
    return GetTickCount();
}

MMRESULT WINAPI timeBeginPeriod(UINT) {
    return TIMERR_NOERROR;
}

MMRESULT WINAPI timeEndPeriod(UINT) {
    return TIMERR_NOERROR;
}

MMRESULT WINAPI joyGetPosEx(UINT, LPJOYINFOEX) {
    return JOYERR_UNPLUGGED;
}

MMRESULT WINAPI joyGetDevCapsA(UINT_PTR, LPJOYCAPSA, UINT) {
    return MMSYSERR_NODRIVER;
}

} // extern "C"
