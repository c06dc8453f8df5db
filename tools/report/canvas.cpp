#include "tools/report/canvas.h"

#include <cairo.h>

#include <cmath>

#include "tools/report/pending_file.h"

#if defined(__SANITIZE_ADDRESS__)
// The font library keeps the patterns of fonts it has looked up until the process ends, in a form that leak checks cannot follow.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }
#endif

namespace limbrex_tools
{
namespace
{

constexpr double kTurn_rad = 2.0 * 3.14159265358979323846;
constexpr const char* kTypeface = "DejaVu Sans";

void set_color(cairo_t* cr, Color color) { cairo_set_source_rgba(cr, color.r, color.g, color.b, color.a); }

void rectangle_path(cairo_t* cr, Point at, double width, double height, double radius)
{
    if (radius <= 0.0)
    {
        cairo_rectangle(cr, at.x, at.y, width, height);
        return;
    }
    const double quarter = kTurn_rad / 4.0;
    cairo_new_sub_path(cr);
    cairo_arc(cr, at.x + width - radius, at.y + radius, radius, -quarter, 0.0);
    cairo_arc(cr, at.x + width - radius, at.y + height - radius, radius, 0.0, quarter);
    cairo_arc(cr, at.x + radius, at.y + height - radius, radius, quarter, 2.0 * quarter);
    cairo_arc(cr, at.x + radius, at.y + radius, radius, 2.0 * quarter, 3.0 * quarter);
    cairo_close_path(cr);
}

void points_path(cairo_t* cr, const std::vector<Point>& points)
{
    cairo_new_path(cr);
    for (const Point& p : points) { cairo_line_to(cr, p.x, p.y); }
}

void select_font(cairo_t* cr, const TextStyle& style)
{
    cairo_select_font_face(cr, kTypeface, CAIRO_FONT_SLANT_NORMAL, style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, style.size);
}

}  // namespace

struct Canvas::Surface
{
    cairo_surface_t* image;
    cairo_t* cr;
};

Canvas::Canvas(double width, double height, double pixels_per_point) : surface_(new Surface), width_(width), height_(height)
{
    surface_->image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::lround(width * pixels_per_point)),
                                                 static_cast<int>(std::lround(height * pixels_per_point)));
    surface_->cr = cairo_create(surface_->image);
    cairo_scale(surface_->cr, pixels_per_point, pixels_per_point);
    cairo_set_line_cap(surface_->cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(surface_->cr, CAIRO_LINE_JOIN_ROUND);
    fill_rectangle({0.0, 0.0}, width, height, kPaper);
}

Canvas::~Canvas()
{
    cairo_destroy(surface_->cr);
    cairo_surface_destroy(surface_->image);
}

void Canvas::fill_rectangle(Point corner, double width, double height, Color color, double radius)
{
    rectangle_path(surface_->cr, corner, width, height, radius);
    set_color(surface_->cr, color);
    cairo_fill(surface_->cr);
}

void Canvas::stroke_rectangle(Point corner, double width, double height, Color color, double line_width, double radius)
{
    rectangle_path(surface_->cr, corner, width, height, radius);
    set_color(surface_->cr, color);
    cairo_set_line_width(surface_->cr, line_width);
    cairo_stroke(surface_->cr);
}

void Canvas::fill_polygon(const std::vector<Point>& points, Color color)
{
    points_path(surface_->cr, points);
    cairo_close_path(surface_->cr);
    set_color(surface_->cr, color);
    cairo_fill(surface_->cr);
}

void Canvas::fill_circle(Point centre, double radius, Color color) { fill_ellipse(centre, radius, radius, color); }

void Canvas::fill_ellipse(Point centre, double radius_x, double radius_y, Color color)
{
    if (!(radius_x > 0.0) || !(radius_y > 0.0)) { return; }
    cairo_save(surface_->cr);
    cairo_translate(surface_->cr, centre.x, centre.y);
    cairo_scale(surface_->cr, radius_x, radius_y);
    cairo_new_path(surface_->cr);
    cairo_arc(surface_->cr, 0.0, 0.0, 1.0, 0.0, kTurn_rad);
    cairo_restore(surface_->cr);
    set_color(surface_->cr, color);
    cairo_fill(surface_->cr);
}

void Canvas::stroke_circle(Point centre, double radius, Color color, double line_width)
{
    cairo_new_path(surface_->cr);
    cairo_arc(surface_->cr, centre.x, centre.y, radius, 0.0, kTurn_rad);
    set_color(surface_->cr, color);
    cairo_set_line_width(surface_->cr, line_width);
    cairo_stroke(surface_->cr);
}

void Canvas::line(Point from, Point to, Color color, double line_width, bool dashed)
{
    const double dashes[] = {3.0 * line_width, 3.0 * line_width};
    if (dashed) { cairo_set_dash(surface_->cr, dashes, 2, 0.0); }
    polyline({from, to}, color, line_width);
    cairo_set_dash(surface_->cr, nullptr, 0, 0.0);
}

void Canvas::polyline(const std::vector<Point>& points, Color color, double line_width)
{
    points_path(surface_->cr, points);
    set_color(surface_->cr, color);
    cairo_set_line_width(surface_->cr, line_width);
    cairo_stroke(surface_->cr);
}

void Canvas::text(Point at, const std::string& words, const TextStyle& style, bool vertical)
{
    cairo_t* cr = surface_->cr;
    const double shift = style.align == Align::Left ? 0.0 : text_width(words, style) * (style.align == Align::Centre ? -0.5 : -1.0);
    select_font(cr, style);
    set_color(cr, style.color);
    cairo_save(cr);
    cairo_translate(cr, at.x, at.y);
    if (vertical) { cairo_rotate(cr, -kTurn_rad / 4.0); }
    cairo_move_to(cr, shift, 0.0);
    cairo_show_text(cr, words.c_str());
    cairo_restore(cr);
    cairo_new_path(cr);
}

double Canvas::text_width(const std::string& words, const TextStyle& style) const
{
    cairo_text_extents_t extents;
    select_font(surface_->cr, style);
    cairo_text_extents(surface_->cr, words.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::push_clip(Point corner, double width, double height)
{
    cairo_save(surface_->cr);
    cairo_rectangle(surface_->cr, corner.x, corner.y, width, height);
    cairo_clip(surface_->cr);
}

void Canvas::pop_clip() { cairo_restore(surface_->cr); }

bool Canvas::save_png(const std::string& path, std::string& error) const
{
    PendingFile file(path);
    cairo_surface_flush(surface_->image);
    cairo_status_t status = cairo_status(surface_->cr);
    if (status == CAIRO_STATUS_SUCCESS) { status = cairo_surface_write_to_png(surface_->image, file.temporary().c_str()); }
    if (status != CAIRO_STATUS_SUCCESS)
    {
        error = path + ": cannot be drawn: " + cairo_status_to_string(status);
        return false;
    }
    return file.commit(error);
}

}  // namespace limbrex_tools
