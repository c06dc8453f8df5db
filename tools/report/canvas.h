// A raster drawing surface: filled shapes, strokes and text in a coordinate system of points, saved as PNG.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace limbrex_tools
{

struct Color
{
    double r = 0.0, g = 0.0, b = 0.0, a = 1.0;
};

constexpr Color rgb(unsigned hex, double alpha = 1.0)
{
    return {((hex >> 16) & 255u) / 255.0, ((hex >> 8) & 255u) / 255.0, (hex & 255u) / 255.0, alpha};
}

// The palette of all reports: colours that stay apart for the colour-blind, and in print.
constexpr Color kPaper = rgb(0xFBFBF9);
constexpr Color kPanel = rgb(0xF2F2EE);
constexpr Color kInk = rgb(0x23262B);
constexpr Color kMutedInk = rgb(0x6E747D);
constexpr Color kHairline = rgb(0xD4D5D0);
constexpr Color kLeft = rgb(0x1F77B4);      // left side of a body
constexpr Color kRight = rgb(0xD1495B);     // right side
constexpr Color kCentre = rgb(0x4A4E57);    // spine, neck, head
constexpr Color kAnimated = rgb(0xB4B7BC);  // the motion before solving
constexpr Color kTarget = rgb(0xE8960C);    // goals of constraints

struct Point
{
    double x = 0.0, y = 0.0;
};

enum class Align
{
    Left,
    Centre,
    Right,
};

struct TextStyle
{
    double size = 11.0;
    Color color = kInk;
    bool bold = false;
    Align align = Align::Left;
};

class Canvas
{
public:
    // Size in points; `pixels_per_point` sharpens the picture without changing the layout.
    Canvas(double width, double height, double pixels_per_point = 2.0);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    double width() const { return width_; }
    double height() const { return height_; }

    void fill_rectangle(Point corner, double width, double height, Color color, double radius = 0.0);
    void stroke_rectangle(Point corner, double width, double height, Color color, double line_width = 1.0, double radius = 0.0);
    void fill_polygon(const std::vector<Point>& points, Color color);
    void fill_circle(Point centre, double radius, Color color);
    void fill_ellipse(Point centre, double radius_x, double radius_y, Color color);
    void stroke_circle(Point centre, double radius, Color color, double line_width);
    void line(Point from, Point to, Color color, double line_width, bool dashed = false);
    void polyline(const std::vector<Point>& points, Color color, double line_width);

    // `at` is on the base line. Vertical text reads upwards.
    void text(Point at, const std::string& words, const TextStyle& style = {}, bool vertical = false);
    double text_width(const std::string& words, const TextStyle& style) const;

    void push_clip(Point corner, double width, double height);
    void pop_clip();

    // Whole or not at all; false with `error` set when the file cannot be written or the surface was too large to exist.
    bool save_png(const std::string& path, std::string& error) const;

private:
    struct Surface;
    std::unique_ptr<Surface> surface_;
    double width_;
    double height_;
};

}  // namespace limbrex_tools
