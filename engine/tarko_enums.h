// Public enumerations of the scene-control operations: keyboard scan codes
// for GetKEY (the index into the 256-byte keyboard state) and mouse buttons
// for Mousse_PressedButton.
#pragma once

#include "runtime/numeric.h"

enum Tarko_KEY_CONST : tarko::Long {
    Tarko_KEY_ESCAPE = 1,
    Tarko_KEY_1 = 2, Tarko_KEY_2 = 3, Tarko_KEY_3 = 4, Tarko_KEY_4 = 5, Tarko_KEY_5 = 6,
    Tarko_KEY_6 = 7, Tarko_KEY_7 = 8, Tarko_KEY_8 = 9, Tarko_KEY_9 = 10, Tarko_KEY_0 = 11,
    Tarko_KEY_MINUS = 12, Tarko_KEY_EQUALS = 13, Tarko_KEY_BACKSPACE = 14, Tarko_KEY_TAB = 15,
    Tarko_KEY_Q = 16, Tarko_KEY_W = 17, Tarko_KEY_E = 18, Tarko_KEY_R = 19, Tarko_KEY_T = 20,
    Tarko_KEY_Y = 21, Tarko_KEY_U = 22, Tarko_KEY_I = 23, Tarko_KEY_O = 24, Tarko_KEY_P = 25,
    Tarko_KEY_LEFTBRACKET = 26, Tarko_KEY_RIGHTBRACKET = 27, Tarko_KEY_RETURN = 28,
    Tarko_KEY_LEFTCONTROL = 29,
    Tarko_KEY_A = 30, Tarko_KEY_S = 31, Tarko_KEY_D = 32, Tarko_KEY_F = 33, Tarko_KEY_G = 34,
    Tarko_KEY_H = 35, Tarko_KEY_J = 36, Tarko_KEY_K = 37, Tarko_KEY_L = 38,
    Tarko_KEY_SEMICOLON = 39, Tarko_KEY_APOSTROPHE = 40, Tarko_KEY_GRAVE = 41,
    Tarko_KEY_LEFTSHIFT = 42, Tarko_KEY_BACKSLASH = 43,
    Tarko_KEY_Z = 44, Tarko_KEY_X = 45, Tarko_KEY_C = 46, Tarko_KEY_V = 47, Tarko_KEY_B = 48,
    Tarko_KEY_N = 49, Tarko_KEY_M = 50,
    Tarko_KEY_COMMA = 51, Tarko_KEY_PERIOD = 52, Tarko_KEY_SLASH = 53, Tarko_KEY_RIGHTSHIFT = 54,
    Tarko_KEY_MULTIPLY = 55, Tarko_KEY_LEFTMENU = 56, Tarko_KEY_SPACE = 57, Tarko_KEY_CAPITAL = 58,
    Tarko_KEY_F1 = 59, Tarko_KEY_F2 = 60, Tarko_KEY_F3 = 61, Tarko_KEY_F4 = 62, Tarko_KEY_F5 = 63,
    Tarko_KEY_F6 = 64, Tarko_KEY_F7 = 65, Tarko_KEY_F8 = 66, Tarko_KEY_F9 = 67, Tarko_KEY_F10 = 68,
    Tarko_KEY_NUMLOCK = 69, Tarko_KEY_SCROLL = 70,
    Tarko_KEY_NUMPAD7 = 71, Tarko_KEY_NUMPAD8 = 72, Tarko_KEY_NUMPAD9 = 73, Tarko_KEY_SUBTRACT = 74,
    Tarko_KEY_NUMPAD4 = 75, Tarko_KEY_NUMPAD5 = 76, Tarko_KEY_NUMPAD6 = 77, Tarko_KEY_ADD = 78,
    Tarko_KEY_NUMPAD1 = 79, Tarko_KEY_NUMPAD2 = 80, Tarko_KEY_NUMPAD3 = 81, Tarko_KEY_NUMPAD0 = 82,
    Tarko_KEY_DECIMAL = 83,
    Tarko_KEY_F11 = 87, Tarko_KEY_F12 = 88, Tarko_KEY_F13 = 100, Tarko_KEY_F14 = 101, Tarko_KEY_F15 = 102,
    Tarko_KEY_KANA = 112, Tarko_KEY_CONVERT = 121, Tarko_KEY_NOCONVERT = 123, Tarko_KEY_YEN = 125,
    Tarko_KEY_NUMPADEQUALS = 141, Tarko_KEY_CIRCUMFLEX = 144, Tarko_KEY_AT = 145, Tarko_KEY_COLON = 146,
    Tarko_KEY_UNDERLINE = 147, Tarko_KEY_KANJI = 148, Tarko_KEY_STOP = 149, Tarko_KEY_AX = 150,
    Tarko_KEY_UNLABELED = 151, Tarko_KEY_NUMPADENTER = 156, Tarko_KEY_RCONTROL = 157,
    Tarko_KEY_NUMPADCOMMA = 179, Tarko_KEY_DIVIDE = 181, Tarko_KEY_SYSRQ = 183, Tarko_KEY_RIGHTMENU = 184,
    Tarko_KEY_PAUSE = 197, Tarko_KEY_HOME = 199, Tarko_KEY_UP = 200, Tarko_KEY_LEFT = 203,
    Tarko_KEY_RIGHT = 205, Tarko_KEY_END = 207, Tarko_KEY_DOWN = 208, Tarko_KEY_NEXT = 209,
    Tarko_KEY_INSERT = 210, Tarko_KEY_DELETE = 211,
    Tarko_KEY_LEFTWINDOWS = 219, Tarko_KEY_RWIN = 220, Tarko_KEY_APPS = 221,
};

enum MOSS : tarko::Long { Left_Button = 0, Right_Button = 1, Middle = 2 };

// Colour key of CreateTexture_ALPHA: which colour stays transparent. Other
// values are accepted (3 gives an alpha format with no key pass).
enum TEXTUREFLAGS : tarko::Long {
    D3DTEXTR_DEFAULT = 0,
    D3DTEXTR_TRANSPARENTBLACK = 1,
    D3DTEXTR_TRANSPARENTWHITE = 2,
};
