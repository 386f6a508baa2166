#include "models/layout/key_layout.h"

namespace models {
namespace {

// An octave is two groups in which white and black keys alternate: C to E and F to B.
struct key_group {
    int first_pitch, last_pitch;
    int first_white, whites;
};
constexpr key_group groups[] = {{0, 4, 0, 3}, {5, 11, 3, 4}};

} // namespace

key_place place_of(int note) {
    const int pitch = note % 12;
    const key_group& group = groups[pitch < 5 ? 0 : 1];
    const int in_group = pitch - group.first_pitch; // even: a white key
    const float tail_width = (group.whites - (group.whites - 1) * black_slot) / group.whites;
    const float group_left = -white_key_count / 2.0f + 7.0f * (note / 12) + group.first_white;

    const float whites_before = static_cast<float>((in_group + 1) / 2);
    const float blacks_before = static_cast<float>(in_group / 2);
    const float left = group_left + whites_before * tail_width + blacks_before * black_slot;
    if (in_group % 2 != 0) return {true, left, left + black_slot, left, left + black_slot};

    const float head_left = group_left + whites_before;
    const float head_right = head_left + 1;
    const bool cut_on_left = pitch != group.first_pitch;
    const bool cut_on_right = pitch != group.last_pitch && note != key_count - 1;
    return {false, head_left, head_right, cut_on_left ? left : head_left,
            cut_on_right ? left + tail_width : head_right};
}

} // namespace models
