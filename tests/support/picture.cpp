#include "support/picture.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdlib>
#include <png.h>

namespace test_support {

picture load_png(const std::string& file) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&header, file.c_str())) return {};
    header.format = PNG_FORMAT_RGBA;
    picture image{int(header.width), int(header.height), std::vector<std::uint8_t>(PNG_IMAGE_SIZE(header))};
    if (!png_image_finish_read(&header, nullptr, image.rgba.data(), 0, nullptr)) return {};
    return image;
}

bool save_png(const picture& image, const std::string& file) {
    png_image header{};
    header.version = PNG_IMAGE_VERSION;
    header.width = unsigned(image.width);
    header.height = unsigned(image.height);
    header.format = PNG_FORMAT_RGBA;
    return png_image_write_to_file(&header, file.c_str(), 0, image.rgba.data(), 0, nullptr) != 0;
}

testing::AssertionResult looks_like(const picture& actual, const std::string& name, double mean, int max) {
    const std::string reference = std::string(QUENVAREL_TEST_DATA) + "/" + name + ".png";
    if (std::getenv("QUENVAREL_UPDATE_PICTURES"))
        return (save_png(actual, reference) ? testing::AssertionSuccess() : testing::AssertionFailure())
               << reference;
    const picture expected = load_png(reference);
    const auto fail = [&] {
        save_png(actual, name + ".actual.png");
        return testing::AssertionFailure() << name << ": ";
    };
    if (expected.rgba.empty()) return fail() << "no reference picture";
    if (expected.width != actual.width || expected.height != actual.height)
        return fail() << actual.width << " x " << actual.height << " pixels, not those of the reference";
    int worst = 0;
    double sum = 0;
    std::size_t where = 0; // of the worst
    for (std::size_t i = 0; i < actual.rgba.size(); ++i) {
        const int difference = std::abs(actual.rgba[i] - expected.rgba[i]);
        sum += difference;
        if (difference > worst) worst = difference, where = i / 4;
    }
    const double average = sum / double(actual.rgba.size());
    if (worst <= max && average <= mean) return testing::AssertionSuccess();
    const auto width = std::size_t(actual.width);
    return fail() << "mean difference " << average << " (allowed " << mean << "), largest " << worst
                  << " (allowed " << max << ") at " << where % width << ", " << where / width
                  << " from the top left";
}

render_target::render_target(int width, int height) : width_(width), height_(height) {
    glGenFramebuffers(1, &framebuffer_);
    glGenRenderbuffers(1, &color_);
    glGenRenderbuffers(1, &depth_);
    glBindRenderbuffer(GL_RENDERBUFFER, color_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glBindRenderbuffer(GL_RENDERBUFFER, depth_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT24, width, height);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color_);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth_);
    glViewport(0, 0, width, height);
    clear(0, 0, 0, 0);
}

render_target::~render_target() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer_);
    glDeleteRenderbuffers(1, &color_);
    glDeleteRenderbuffers(1, &depth_);
}

void render_target::clear(float red, float green, float blue, float alpha) {
    glClearColor(red, green, blue, alpha);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

picture render_target::read() const {
    picture image{width_, height_, std::vector<std::uint8_t>(std::size_t(width_) * height_ * 4)};
    const std::size_t row = std::size_t(width_) * 4;
    for (int y = 0; y < height_; ++y) {
        glReadPixels(0, y, width_, 1, GL_RGBA, GL_UNSIGNED_BYTE, &image.rgba[(height_ - 1 - y) * row]);
    }
    return image;
}

} // namespace test_support
