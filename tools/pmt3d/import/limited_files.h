#pragma once
// The files that Assimp may open.

#include <assimp/DefaultIOSystem.h>

#include <cstdint>
#include <functional>
#include <string>

namespace tool {

// Regular files only, of limited size all together. A pipe or a device that a model names is not opened.
class limited_files : public Assimp::DefaultIOSystem {
public:
    static constexpr std::uint64_t most_bytes = std::uint64_t(1) << 30;

    // Calls `opening` with the bytes of every file that is about to be opened.
    explicit limited_files(std::function<void(std::uint64_t)> opening) : opening_(std::move(opening)) {}

    bool Exists(const char* name) const override; // the inherited one would open it to see
    Assimp::IOStream* Open(const char* name, const char* mode) override;

    std::uint64_t bytes() const { return bytes_; }
    // Why a file was not opened; empty when all were.
    const std::string& refusal() const { return refusal_; }

private:
    std::function<void(std::uint64_t)> opening_;
    std::uint64_t bytes_ = 0;
    std::string refusal_;
};

} // namespace tool
