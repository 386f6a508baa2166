#include "libutils/file_view.h"

namespace libutils::mapping {

namespace {

std::atomic_flag in_use; // the list
file_view* first = nullptr;

class list_lock {
public:
    list_lock() {
        while (in_use.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~list_lock() { in_use.clear(std::memory_order_release); }
};

} // namespace

void watch(file_view& view, void* begin, std::uint64_t size) {
    [[maybe_unused]] static const bool expected = (expect_holes(), true);
    view.begin = static_cast<char*>(begin);
    view.size = size;
    const list_lock lock;
    view.next = first;
    first = &view;
}

void unwatch(file_view& view) {
    if (!view.begin) return;
    view.begin = nullptr;
    const list_lock lock;
    file_view** at = &first;
    while (*at != &view)
        at = &(*at)->next;
    *at = view.next;
}

file_view* watched_view_at(const void* address) {
    const auto* const byte = static_cast<const char*>(address);
    const list_lock lock;
    file_view* view = first;
    while (view && (byte < view->begin || byte >= view->begin + view->size))
        view = view->next;
    return view;
}

} // namespace libutils::mapping
