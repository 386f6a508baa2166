#pragma once
// Changes the surfaces of a model: which ones there are, and what they are made of.

#include "pmt3d/format/model.h"
#include "pmt3d/format/progress.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tool {

// A model whose surfaces have names: those of a file that names them, others none.
struct named_model {
    pmt3d::model_t model;
    std::vector<std::string> names; // one for each item
};

// Appends the other's surfaces. The environment is that of the first that has one.
void append(named_model& all, named_model&& other);

// Keeps the surfaces that are called so, or have that number, counted from 1. False, reported with what there
// is, when one of the names fits none.
bool keep_only(named_model& all, std::span<const char* const> names);

// Gives all NURBS surfaces so many vertices along u and along v. False, reported, when they have more than
// files may have, or `allowed`.
bool set_resolution(pmt3d::model_t& model, std::uint32_t resolution, std::uint64_t allowed);

// Turns a NURBS surface into the triangles that stand for it.
void make_triangles(pmt3d::model_item_t& item);

// Welds and smooths the triangles of all polygon surfaces. False, reported, when there is no room.
bool smooth(pmt3d::model_t& model, float degrees, const pmt3d::progress_t& progress = {});

// Makes one polygon surface of all polygon surfaces, as a key needs. False, reported, when their pictures
// differ or there is no room.
bool merge_into_one(named_model& all);

// File names for the surfaces of a model that is saved as several files: "chair.pmt" becomes "chair-leg.pmt",
// or "chair-2.pmt" for the second surface when it has no name. No two are equal, in whatever case.
std::vector<std::string> split_names(const named_model& all, const std::string& file);

} // namespace tool
