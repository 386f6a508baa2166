// make_icon SVG OUTPUT: draws the picture in the sizes of a window's icon and writes the numbers that a
// window manager wants, for each size its width, its height and its pixels, ARGB. Of SVG it knows what our
// picture is made of: groups with a fill, and rectangles.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

namespace {

struct rectangle {
    double x, y, width, height, radius;
    std::uint32_t color;
};

// Empty when it holds anything else.
std::vector<rectangle> rectangles_of(const std::string& svg, double& size) {
    std::vector<rectangle> found;
    std::string fill_of_group;
    const std::regex tag("<!--[^]*?-->|<(/?\\w+)([^>]*)>");
    for (std::sregex_iterator at(svg.begin(), svg.end(), tag), end; at != end; ++at) {
        const std::string name = (*at)[1], attributes = (*at)[2];
        const auto text = [&](const std::string& attribute) {
            std::smatch value;
            const std::regex wanted("\\b" + attribute + "=\"([^\"]*)\"");
            return std::regex_search(attributes, value, wanted) ? value[1].str() : "";
        };
        const auto number = [&](const std::string& attribute) {
            return std::strtod(text(attribute).c_str(), nullptr);
        };
        if (name == "svg") {
            const std::string box = text("viewBox");
            size = std::strtod(box.substr(box.rfind(' ') + 1).c_str(), nullptr);
        } else if (name == "g" || name == "/g") {
            fill_of_group = text("fill");
        } else if (name == "rect") {
            const std::string fill = text("fill").empty() ? fill_of_group : text("fill");
            if (fill.size() != 7 || fill[0] != '#') return {};
            found.push_back({number("x"), number("y"), number("width"), number("height"), number("rx"),
                             static_cast<std::uint32_t>(std::stoul(fill.substr(1), nullptr, 16))});
        } else if (!name.empty() && name != "/svg") {
            return {};
        }
    }
    return found;
}

// How far a point is outside of it; negative inside.
double distance(const rectangle& r, double x, double y) {
    const double along = std::abs(x - r.x - r.width / 2) - r.width / 2 + r.radius;
    const double across = std::abs(y - r.y - r.height / 2) - r.height / 2 + r.radius;
    return std::hypot(std::max(along, 0.0), std::max(across, 0.0)) + std::min(std::max(along, across), 0.0) -
           r.radius;
}

std::uint32_t pixel(const std::vector<rectangle>& rectangles, double x, double y, double pixel_size) {
    double sum[3] = {}, alpha = 0; // the colors times alpha
    for (const rectangle& r : rectangles) {
        const double covered = std::clamp(0.5 - distance(r, x, y) / pixel_size, 0.0, 1.0);
        for (int channel = 0; channel < 3; ++channel)
            sum[channel] += covered * ((r.color >> (16 - 8 * channel) & 0xFF) - sum[channel]);
        alpha += covered * (1 - alpha);
    }
    const auto byte = [](double value) { return static_cast<std::uint32_t>(std::lround(value)); };
    std::uint32_t result = byte(255 * alpha);
    for (const double channel : sum)
        result = result << 8 | (alpha > 0 ? byte(channel / alpha) : 0);
    return result;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    std::ifstream in(argv[1]);
    const std::string svg{std::istreambuf_iterator<char>(in), {}};
    double picture_size = 0;
    const std::vector<rectangle> rectangles = rectangles_of(svg, picture_size);
    if (rectangles.empty() || !(picture_size > 0)) {
        std::cerr << argv[1] << ": not made of groups and rectangles alone.\n";
        return 1;
    }
    std::ofstream out(argv[2]);
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        out << size << ',' << size;
        const double pixel_size = picture_size / size;
        for (int at = 0; at < size * size; ++at)
            out << (at % size == 0 ? ",\n" : ",")
                << pixel(rectangles, (at % size + 0.5) * pixel_size, (at / size + 0.5) * pixel_size,
                         pixel_size);
        out << ",\n";
    }
    return out.flush() ? 0 : 1;
}
