#pragma once
// GLUT's codes of the keys without a character.

namespace gems {

enum special_key : int {
    key_f1 = 1, // and so on
    key_f2 = 2,
    key_f3 = 3,
    key_f4 = 4,
    key_f12 = 12,
    key_left = 100,
    key_up = 101,
    key_right = 102,
    key_down = 103,
    key_page_up = 104,
    key_page_down = 105,
    key_home = 106,
    key_end = 107,
    key_insert = 108,
    key_num_lock = 109,
    key_begin = 110,
    key_delete = 111, // that of the keypad
    key_shift_left = 112,
    key_shift_right = 113,
    key_ctrl_left = 114,
    key_ctrl_right = 115,
    key_alt_left = 116,
    key_alt_right = 117,
    key_super_left = 118,
    key_super_right = 119,
};

} // namespace gems
