#pragma once
// A model as plain values: its environment, and its surfaces with the names of their pictures.

#include "libgr/options/options.h"
#include "pmt3d/surface/nurbs.h"
#include "pmt3d/surface/polygon.h"

#include <cstdint>
#include <list>
#include <memory>

namespace pmt3d {

struct model_item_t {
    enum class kind_t : std::uint32_t { polygon = 0, nurbs = 1 };

    explicit model_item_t(kind_t k = kind_t::polygon) : kind(k) {}

    kind_t kind;
    libgr::texture_options texture;
    polygon_t polygon; // the surface, or what the NURBS surface is tessellated into
    nurbs_t nurbs;
};

// In the order of the file. Items keep their place in memory.
using surface_list = std::list<model_item_t>;

struct model_t {
    libgr::environment_options environment;
    surface_list items;
};

// Shares one item among holders until one of them changes it.
class shared_item_t {
public:
    shared_item_t() = default;
    // A copy of the item, held once.
    explicit shared_item_t(const model_item_t& item) : item_(std::make_shared<model_item_t>(item)) {}

    const model_item_t* get() const { return item_.get(); }
    // The item, copied first when others hold it too. Not for an empty holder.
    model_item_t& edit() {
        if (item_.use_count() > 1) item_ = std::make_shared<model_item_t>(*item_);
        return *item_;
    }
    long use_count() const { return item_.use_count(); }

private:
    std::shared_ptr<model_item_t> item_;
};

} // namespace pmt3d
