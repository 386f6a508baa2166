// Models of other programs, converted as a user converts them.
#include "libgr/image/autoformat.h"
#include "pmt3d/format/dispatch.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test_support::process_result;
using test_support::read_file;

std::string base64(const std::string& bytes) {
    const char* const digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned group = 0;
        for (std::size_t i = at; i < at + 3; ++i)
            group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u);
        for (int i = 3; i >= 0; --i)
            text += at + 3 - std::size_t(i) > bytes.size() ? '=' : digits[group >> (18 - 6 * (3 - i)) & 63];
    }
    return text;
}

// A glTF file with one mesh: a triangle in the plane z = 0 with its texture's corner at the top left, and
// whatever the words between add.
std::string gltf(const std::string& nodes, const std::string& material = "{}", const std::string& more = "",
                 const std::vector<unsigned short>& indices = {0, 1, 2},
                 std::vector<float> positions = {0, 0, 0, 2, 0, 0, 0, 1, 0}) {
    const float others[] = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 1, 1, 1, 0, 0};
    std::string bytes(reinterpret_cast<const char*>(positions.data()), 36);
    bytes.append(reinterpret_cast<const char*>(others), sizeof others);
    bytes.append(reinterpret_cast<const char*>(indices.data()), 2 * indices.size());
    std::ostringstream out;
    out << R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[)" << nodes
        << R"(],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3,)"
        << R"("material":0}]}],"materials":[)" << material << "]," << more
        << R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[2,1,0]},)"
        << R"({"bufferView":0,"byteOffset":36,"componentType":5126,"count":3,"type":"VEC3"},)"
        << R"({"bufferView":0,"byteOffset":72,"componentType":5126,"count":3,"type":"VEC2"},)"
        << R"({"bufferView":1,"componentType":5123,"count":)" << indices.size() << R"(,"type":"SCALAR"}],)"
        << R"("bufferViews":[{"buffer":0,"byteLength":96},{"buffer":0,"byteOffset":96,"byteLength":)"
        << 2 * indices.size() << R"(}],"buffers":[{"byteLength":)" << bytes.size()
        << R"(,"uri":"data:application/octet-stream;base64,)" << base64(bytes) << R"("}]})";
    return out.str();
}

// A picture of one colour.
void write_picture(const std::string& name, std::vector<unsigned char> rgb) {
    libgr::image2d image;
    image.width = image.height = 2;
    image.descriptor = libgr::kinds::rgb8;
    ASSERT_TRUE(image.allocate());
    for (std::uint32_t i = 0; i < 4; ++i)
        std::copy(rgb.begin(), rgb.end(), image.pixel(i % 2, i / 2));
    ASSERT_TRUE(libgr::autosaveformat(image, name));
}

std::vector<int> first_pixel(const std::string& name) {
    libgr::image2d image;
    if (!libgr::autoloadformat(image, name)) return {};
    return {image.pixel(0, 0), image.pixel(0, 0) + libgr::components(image.descriptor.format)};
}

class imports : public testing::Test {
protected:
    std::string file(const std::string& name) { return directory_.file(name); }
    static process_result tool(const char* subcommand, std::vector<std::string> words) {
        words.insert(words.begin(), {QUENVAREL_BIN "/pmt3d", subcommand});
        return test_support::run(words);
    }
    process_result convert(const std::string& in, const std::string& out = "out.pmt") {
        return tool("convert", {file(in), file(out)});
    }
    // What becomes of a file; nothing may be said.
    const pmt3d::surface_list& imported(const std::string& name, const std::string& text) {
        directory_.write(name, text);
        const process_result r = convert(name);
        EXPECT_TRUE(r.exit_code == 0 && r.err.empty()) << name << ": " << r.err;
        return saved();
    }
    const pmt3d::surface_list& saved() {
        model_ = {};
        std::ostringstream messages;
        EXPECT_TRUE(pmt3d::load(model_, file("out.pmt"), {messages})) << messages.str();
        if (model_.items.empty()) model_.items.emplace_back();
        return model_.items;
    }
    test_support::temporary_directory directory_;
    pmt3d::model_t model_;
};

// "x y z, x y z, x y z; " for each triangle, beginning with its smallest corner, in order.
std::string triangles(const pmt3d::polygon_t& polygon) {
    std::multiset<std::string> all;
    pmt3d::for_each_triangle(
        polygon.getelements(), polygon.vertex_count(), [&](std::uint64_t, bool, auto a, auto b, auto c) {
            std::string corners[3];
            for (int i = 0; const auto vertex : {a, b, c}) {
                const render::pos3 p = polygon.vertices()[vertex].position;
                std::ostringstream text;
                text << std::round(100 * p.x) / 100 + 0.0f << ' ' << std::round(100 * p.y) / 100 + 0.0f << ' '
                     << std::round(100 * p.z) / 100 + 0.0f;
                corners[i++] = text.str();
            }
            std::rotate(corners, std::min_element(corners, corners + 3), corners + 3);
            all.insert(corners[0] + ", " + corners[1] + ", " + corners[2] + "; ");
        });
    std::string text;
    for (const std::string& one : all)
        text += one;
    return text;
}

const pmt3d::vertex_t* vertex_at(const pmt3d::polygon_t& polygon, float x, float y) {
    for (const pmt3d::vertex_t& v : polygon.vertices())
        if (v.position.x == x && v.position.y == y) return &v;
    ADD_FAILURE() << "no vertex at " << x << ' ' << y;
    return polygon.vertices().data();
}

std::vector<int> bytes_of(const render::col3a& c) {
    const auto byte = [](float f) { return int(std::lround(255 * f)); };
    return {byte(c.r), byte(c.g), byte(c.b), byte(c.a)};
}

TEST_F(imports, the_same_triangle_from_every_text_format) {
    directory_.write("red.mtl", "newmtl red\nKd 1 0 0.2\n");
    const struct {
        const char *name, *text;
        std::vector<int> color;
    } cases[] = {
        {"plain.obj", "v 0 0 0\nv 2 0 0\nv 0 1 0\nf 1 2 3\n", {128, 128, 128, 255}},
        {"RED.OBJ", "mtllib red.mtl\nusemtl red\nv 0 0 0\nv 2 0 0\nv 0 1 0\nf 1 2 3\n", {255, 0, 51, 255}},
        {"painted.ply",
         "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
         "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\n"
         "property list uchar int vertex_index\nend_header\n"
         "0 0 0 255 0 51\n2 0 0 255 0 51\n0 1 0 255 0 51\n3 0 1 2\n",
         {255, 0, 51, 255}},
        {"plain.off", "OFF\n3 1 0\n0 0 0\n2 0 0\n0 1 0\n3 0 1 2\n", {128, 128, 128, 255}},
    };
    for (const auto& c : cases) {
        const pmt3d::polygon_t& polygon = imported(c.name, c.text).front().polygon;
        EXPECT_EQ(triangles(polygon), "0 0 0, 2 0 0, 0 1 0; ") << c.name;
        EXPECT_EQ(polygon.normals()[0].normal, (render::dir3{0, 0, 1})) << c.name;
        EXPECT_EQ(bytes_of(polygon.vertices()[0].color), c.color) << c.name;
    }
}

TEST_F(imports, nodes_move_their_meshes) {
    const struct {
        const char *nodes, *triangles;
        render::dir3 normal;
    } cases[] = {
        {R"({"mesh":0})", "0 0 0, 2 0 0, 0 1 0; ", {0, 0, 1}},
        // A mirror turns no surface inside out.
        {R"({"mesh":0,"scale":[-1,1,1]})", "-2 0 0, 0 0 0, 0 1 0; ", {0, 0, 1}},
        {R"({"mesh":0,"scale":[1,1,-1]})", "0 0 0, 0 1 0, 2 0 0; ", {0, 0, -1}},
        {R"({"children":[1],"translation":[0,5,0]},{"mesh":0,"rotation":[0,0.70710678,0,0.70710678]})",
         "0 5 -2, 0 6 0, 0 5 0; ",
         {1, 0, 0}},
        {R"({"children":[1],"scale":[1,3,1]},{"mesh":0,"rotation":[0.38268343,0,0,0.92387953]})",
         "0 0 0, 2 0 0, 0 2.12 0.71; ",
         {0, -0.316228f, 0.948683f}},
    };
    for (const auto& c : cases) {
        const pmt3d::polygon_t& polygon = imported("moved.gltf", gltf(c.nodes)).front().polygon;
        EXPECT_EQ(triangles(polygon), c.triangles) << c.nodes;
        const render::dir3 n = polygon.normals()[0].normal;
        EXPECT_NEAR(std::hypot(n.x - c.normal.x, n.y - c.normal.y, n.z - c.normal.z), 0, 1e-5) << c.nodes;
    }
}

TEST_F(imports, glTF_colours_are_light_and_its_textures_begin_at_the_top) {
    const std::string paint = R"({"pbrMetallicRoughness":{"baseColorFactor":[0.5,1,0,0.25]}})";
    const pmt3d::model_item_t& item =
        imported("paint.gltf", gltf(R"({"mesh":0,"name":"Key"})", paint)).front();
    const pmt3d::polygon_t& polygon = item.polygon;
    EXPECT_EQ(bytes_of(polygon.vertices()[0].color), (std::vector{188, 255, 0, 255})); // opaque
    EXPECT_EQ(vertex_at(polygon, 0, 0)->texcoord.t, 0);
    EXPECT_EQ(vertex_at(polygon, 0, 1)->texcoord.t, 1);
    EXPECT_EQ(vertex_at(polygon, 2, 0)->texcoord.s, 1);
    const pmt3d::frame_t& frame = polygon.normals()[0];
    EXPECT_EQ(frame.tangent, (render::dir3{1, 0, 0}));
    EXPECT_EQ(frame.binormal, (render::dir3{0, 1, 0}));
}

TEST_F(imports, normals_that_are_missing_are_smooth_up_to_30_degrees) {
    for (const auto& [angle, smooth] : {std::pair{25.0, true}, {35.0, false}}) {
        std::ostringstream text;
        const double radians = angle * std::atan(1.0) / 45;
        text << "v 0 0 0\nv 0 1 0\nv -1 0 0\nv " << std::cos(radians) << " 0 " << -std::sin(radians)
             << "\nf 3 1 2\nf 1 4 2\n";
        EXPECT_EQ(imported("fold.obj", text.str()).front().polygon.vertex_count(), smooth ? 4u : 6u) << angle;
    }
}

TEST_F(imports, pictures_are_referenced_or_written_beside_the_model) {
    write_picture(file("oak planks.png"), {10, 20, 30});
    write_picture(file("bumps.png"), {255, 128, 0});
    write_picture(file("rough.png"), {0, 51, 255});
    fs::copy_file(file("oak planks.png"), file("elsewhere.png"));
    const std::string embedded = base64(read_file(file("elsewhere.png")));
    const std::string material =
        R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicRoughnessTexture":{"index":2},)"
        R"("roughnessFactor":0.5},"normalTexture":{"index":1}})";
    const auto text = [&](const std::string& color) {
        return gltf(R"({"mesh":0})", material,
                    R"("textures":[{"source":0},{"source":1},{"source":2}],"images":[{"uri":")" + color +
                        R"("},{"uri":"bumps.png"},{"uri":"rough.png"}],)");
    };
    libgr::texture_options dress = imported("named.gltf", text("oak%20planks.png")).front().texture;
    EXPECT_EQ(dress.texture, "oak planks.png");
    EXPECT_EQ(first_pixel(file(dress.bumpmap)), (std::vector{127, 0, 129})) << dress.bumpmap;
    EXPECT_FALSE(dress.bumpofs);
    EXPECT_EQ(first_pixel(file(dress.specular))[0], 230) << dress.specular;
    EXPECT_TRUE(tool("info", {file("named.gltf")})
                    .out.ends_with("\n  texture: oak planks.png\n  bumpmap: bumps-normals.png\n"
                                   "  specular: rough-shine50.png\n"));

    // What has been written before is used again; what is another's stays.
    const std::string taken = file("out-picture0.png");
    const auto count = [&] { return std::distance(fs::directory_iterator(directory_.path()), {}); };
    directory_.write("out-picture0.png", "mine");
    directory_.write("held.gltf", text("data:image/png;base64," + embedded));
    for (int time = 0; time < 2; ++time) {
        const auto before = count();
        EXPECT_EQ(convert("held.gltf").err, "");
        EXPECT_EQ(count(), before + (time == 0 ? 1 : 0));
        dress = saved().front().texture;
        EXPECT_EQ(first_pixel(file(dress.texture)), (std::vector{10, 20, 30})) << dress.texture;
        EXPECT_EQ(read_file(taken), "mine");
    }
    const auto before = count();
    EXPECT_EQ(tool("check", {file("held.gltf")}).exit_code, 0);
    EXPECT_EQ(count(), before) << "a check leaves nothing";

    // Pictures of one name in two folders are two.
    for (const auto& [folder, red] : {std::pair<const char*, unsigned char>{"left", 255}, {"right", 0}}) {
        fs::create_directory(file(folder));
        write_picture(file(std::string(folder) + "/n.png"), {red, 128, 255});
    }
    directory_.write("two.mtl", "newmtl l\nmap_bump left/n.png\nnewmtl r\nmap_bump right/n.png\n");
    directory_.write("two.obj", "mtllib two.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nusemtl l\nf 1 2 3\n"
                                "usemtl r\nf 1 2 4\n");
    EXPECT_EQ(convert("two.obj").err, "");
    std::set<int> reds;
    for (const pmt3d::model_item_t& item : saved())
        reds.insert(first_pixel(file(item.texture.bumpmap))[0]);
    EXPECT_EQ(reds, (std::set{127, 129}));

    // Each that cannot be had is one line, and the rest is there.
    directory_.write("rough.png", "no picture");
    fs::remove(file("bumps.png"));
    directory_.write("short.gltf", text("data:image/webp;base64,UklGRg=="));
    const process_result r = convert("short.gltf");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 3) << r.err;
    for (const char* said :
         {"picture number 0 in it is not JPEG", "bumps.png is missing", "rough.png is not"})
        EXPECT_NE(r.err.find(said), std::string::npos) << r.err;
    dress = saved().front().texture;
    EXPECT_EQ(dress.texture + dress.bumpmap, "");
}

TEST_F(imports, what_cannot_be_imported_is_one_line) {
    std::string deep, many = R"({"children":[1)";
    for (int i = 1; i < 100'000; ++i)
        deep += R"({"children":[)" + std::to_string(i) + "]},";
    for (int i = 2; i < 100'000; ++i)
        many += ',' + std::to_string(i);
    many += "]}";
    for (int i = 1; i < 100'000; ++i)
        many += ",{}";
    const struct {
        const char* name;
        std::string text;
        const char* said;
    } cases[] = {
        {"cameras.gltf",
         R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"camera":0}],)"
         R"("cameras":[{"type":"perspective","perspective":{"yfov":1,"znear":1}}]})",
         "no triangle"},
        {"cycle.gltf", gltf(R"({"children":[1]},{"children":[0],"mesh":0})"), "recursive"},
        {"indices.gltf", gltf(R"({"mesh":0})", "{}", "", {0, 1, 3}), "."},
        {"flat.gltf", gltf(R"({"mesh":0,"scale":[1,0,0]})"), "no triangle"},
        {"flat.obj", "v 0 0 0\nv 1 1 1\nv 2 2 2\nf 1 2 3\nf 1 1 2\n", "no triangle"},
        {"points.ply",
         "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
         "end_header\n0 0 0\n",
         "no triangle"},
        {"no_number.gltf", gltf(R"({"mesh":0})", "{}", "", {0, 1, 2}, {NAN, 0, 0, 2, 0, 0, 0, 1, 0}), "."},
#ifdef __SANITIZE_ADDRESS__ // which ends the process itself
        {"huge.off", "OFF\n4000000000 1 0\n", "breaks its reader"},
#else
        {"huge.off", "OFF\n4000000000 1 0\n", "memory"},
#endif
        {"cut.glb", std::string("glTF\2\0\0\0\xFF\xFF\xFF\xFF", 12), "."},
        {"deep.gltf", gltf(deep + R"({"mesh":0})"), ""},
        {"many.gltf", gltf(many), "no triangle"},
        {"nothing.fbx", "", "."},
        {"text.3mf", "no zip", "."},
        {"missing.dae", "<COLLADA/>", "."},
    };
    for (const auto& c : cases) {
        directory_.write(c.name, c.text);
        fs::remove(file("out.pmt"));
        const process_result r = convert(c.name);
        if (std::string(c.said).empty() && r.exit_code == 0) continue; // so much is well
        EXPECT_EQ(r.exit_code, 1) << c.name;
        EXPECT_TRUE(std::regex_match(
            r.err, std::regex("pmt3d: .*" + std::string(c.name) + ": not loaded: .*" + c.said + ".*\n")))
            << r.err;
        EXPECT_FALSE(fs::exists(file("out.pmt"))) << c.name;
    }
    EXPECT_NE(convert("none.glb").err.find("none.glb: not loaded: "), std::string::npos);
}

TEST_F(imports, size_and_what_a_file_names_have_limits) {
    directory_.write("sparse.obj", "v 0 0 0\n");
    fs::resize_file(file("sparse.obj"), std::uint64_t(4) << 30);
    const process_result r = convert("sparse.obj");
    EXPECT_EQ(r.exit_code, 1);
    EXPECT_NE(r.err.find("more than 1024 MiB are not imported."), std::string::npos) << r.err;
    // Nobody writes to the pipe: to open it would be to wait for ever.
    ASSERT_EQ(mkfifo(file("pipe.mtl").c_str(), 0600), 0);
    EXPECT_EQ(imported("pipe.obj", "mtllib pipe.mtl\nv 0 0 0\nv 2 0 0\nv 0 1 0\nf 1 2 3\n").size(), 1u);
    // One mesh in many places.
    std::string nodes = R"({"children":[1)";
    for (int i = 2; i <= 300; ++i)
        nodes += ',' + std::to_string(i);
    nodes += "]}";
    for (int i = 1; i <= 300; ++i)
        nodes += R"(,{"mesh":0,"translation":[0,)" + std::to_string(i) + ",0]}";
    const pmt3d::surface_list& items = imported("crowd.gltf", gltf(nodes));
    EXPECT_EQ(items.size(), 1u);
    EXPECT_EQ(items.front().polygon.vertex_count(), 900u);
}

TEST_F(imports, triangles_that_cannot_be_are_left_out_with_a_line) {
    directory_.write("one_bad.obj", "v 0 0 0\nv 2 0 0\nv 0 1 0\nv nan 0 0\nf 1 2 3\nf 1 2 4\n");
    const process_result r = convert("one_bad.obj");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_NE(r.err.find("one_bad.obj: 1 triangle with a corner that is no number is left out.\n"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(triangles(saved().front().polygon), "0 0 0, 2 0 0, 0 1 0; ");
}

} // namespace
