#include "host/animation/bvh_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <system_error>

namespace limbrex_host
{
namespace
{

constexpr size_t kMaxFileBytes = size_t{1} << 29;
constexpr size_t kMaxDepth = 256;
constexpr std::string_view kBlank = " \t\r\f\v";

constexpr std::string_view kChannelNames[] = {"Xposition", "Yposition", "Zposition", "Xrotation", "Yrotation", "Zrotation"};

struct Cursor
{
    std::string_view text;
    size_t at = 0;
    size_t line = 1;
    std::string file;
    std::string error;

    bool fail(const std::string& what) { return fail_at(line, what); }

    bool fail_at(size_t where, const std::string& what)
    {
        std::ostringstream message;
        message << file << ":" << where << ": " << what;
        error = message.str();
        return false;
    }
};

void skip_blanks(Cursor& c)
{
    while (c.at < c.text.size() && kBlank.find(c.text[c.at]) != std::string_view::npos) { ++c.at; }
}

void skip_blank_lines(Cursor& c)
{
    for (skip_blanks(c); c.at < c.text.size() && c.text[c.at] == '\n'; skip_blanks(c))
    {
        ++c.at;
        ++c.line;
    }
}

bool at_line_end(Cursor& c)
{
    skip_blanks(c);
    return c.at >= c.text.size() || c.text[c.at] == '\n';
}

// The next word, on this line or a later one; empty at the end of the file. Braces are words of their own.
std::string_view next_word(Cursor& c)
{
    skip_blank_lines(c);
    const size_t begin = c.at;
    while (c.at < c.text.size() && c.text[c.at] != '\n' && kBlank.find(c.text[c.at]) == std::string_view::npos)
    {
        const bool brace = c.text[c.at] == '{' || c.text[c.at] == '}';
        if (brace && c.at > begin) { break; }
        ++c.at;
        if (brace) { break; }
    }
    return c.text.substr(begin, c.at - begin);
}

// What is left of the line up to an opening brace: names may hold blanks.
std::string_view rest_of_name(Cursor& c)
{
    skip_blanks(c);
    const size_t begin = c.at;
    while (c.at < c.text.size() && c.text[c.at] != '\n' && c.text[c.at] != '{') { ++c.at; }
    const std::string_view raw = c.text.substr(begin, c.at - begin);
    const size_t last = raw.find_last_not_of(kBlank);
    return last == std::string_view::npos ? std::string_view{} : raw.substr(0, last + 1);
}

// Words in messages: short, and free of bytes that would garble a terminal.
std::string quoted(std::string_view word)
{
    std::string shown = word.empty() ? "the end of the file" : "\"";
    if (word.empty()) { return shown; }
    for (const char ch : word.substr(0, 40)) { shown += (ch >= 32 && ch < 127) ? ch : '?'; }
    return shown + (word.size() > 40 ? "...\"" : "\"");
}

bool expect(Cursor& c, std::string_view wanted, const char* place)
{
    const std::string_view word = next_word(c);
    if (word == wanted) { return true; }
    return c.fail("expected \"" + std::string(wanted) + "\" " + place + ", found " + quoted(word));
}

bool read_number(Cursor& c, double& out, const char* what)
{
    std::string_view word = next_word(c);
    const std::string_view whole = word;
    if (!word.empty() && word.front() == '+') { word.remove_prefix(1); }
    const auto [end, status] = std::from_chars(word.data(), word.data() + word.size(), out);
    if (status == std::errc::invalid_argument || end != word.data() + word.size() || word.empty())
    {
        return c.fail(std::string(what) + " must be a number, found " + quoted(whole));
    }
    if (status == std::errc::result_out_of_range && word.find("e-") != std::string_view::npos) { out = 0.0; }
    else if (status != std::errc{} || !std::isfinite(out) || std::fabs(out) > kBvhMaxMagnitude)
    {
        return c.fail(std::string(what) + " is " + quoted(whole) + ", which is not a finite number of sensible size");
    }
    return true;
}

std::optional<BvhChannel> channel_from_name(std::string_view word)
{
    const auto same = [](char a, char b) { return (a | 0x20) == (b | 0x20); };  // letters of either case
    for (size_t i = 0; i < std::size(kChannelNames); ++i)
    {
        const std::string_view name = kChannelNames[i];
        if (std::equal(name.begin(), name.end(), word.begin(), word.end(), same)) { return static_cast<BvhChannel>(i); }
    }
    return std::nullopt;
}

bool read_offset(Cursor& c, BvhJoint& joint)
{
    return read_number(c, joint.offset[0], "OFFSET") && read_number(c, joint.offset[1], "OFFSET") &&
           read_number(c, joint.offset[2], "OFFSET");
}

bool read_channels(Cursor& c, BvhFile& file, BvhJoint& joint)
{
    double count = 0.0;
    if (!read_number(c, count, "the count after CHANNELS")) { return false; }
    if (count < 0.0 || count > 6.0 || count != std::floor(count)) { return c.fail("CHANNELS takes a count from 0 to 6"); }
    for (int i = 0; i < static_cast<int>(count); ++i)
    {
        const std::string_view word = at_line_end(c) ? std::string_view("the end of the line") : next_word(c);
        const std::optional<BvhChannel> channel = channel_from_name(word);
        if (!channel) { return c.fail("expected a channel name such as Zrotation, found " + quoted(word)); }
        if (std::count(joint.channels.begin(), joint.channels.end(), *channel) > 0)
        {
            return c.fail("channel " + quoted(word) + " stands twice on one joint");
        }
        joint.channels.push_back(*channel);
    }
    if (!at_line_end(c)) { return c.fail("more channel names than the count before them says"); }
    joint.firstChannel = file.channelCount;
    file.channelCount += joint.channels.size();
    return true;
}

// Opens a joint whose keyword has just been read: its name and its opening brace.
bool open_joint(Cursor& c, BvhFile& file, std::vector<int32_t>& open, std::string_view keyword)
{
    BvhJoint joint;
    joint.line = c.line;
    joint.parent = open.empty() ? -1 : open.back();
    joint.endSite = keyword == "End";
    if (joint.endSite && !expect(c, "Site", "after \"End\"")) { return false; }
    const std::string_view name = rest_of_name(c);
    if (!joint.endSite)
    {
        if (name.empty()) { return c.fail(std::string(keyword) + " has no name"); }
        joint.name = std::string(name.substr(0, 200));
    }
    if (!expect(c, "{", "to open the joint")) { return false; }
    if (file.joints.size() >= kBvhMaxJoints) { return c.fail("more than 4096 joints; this is no skeleton"); }
    if (open.size() >= kMaxDepth) { return c.fail("joints nested more than 256 deep; this is no skeleton"); }
    open.push_back(static_cast<int32_t>(file.joints.size()));
    file.joints.push_back(std::move(joint));
    return true;
}

struct JointProgress
{
    bool hasOffset = false;
    bool hasChannels = false;
};

// One statement inside an open joint. `progress` parallels file.joints.
bool read_statement(Cursor& c, BvhFile& file, std::vector<int32_t>& open, std::vector<JointProgress>& progress)
{
    const size_t index = static_cast<size_t>(open.back());
    progress.resize(file.joints.size());
    BvhJoint& joint = file.joints[index];
    const std::string_view word = next_word(c);
    if (word == "OFFSET")
    {
        if (progress[index].hasOffset) { return c.fail("a second OFFSET on one joint"); }
        progress[index].hasOffset = true;
        return read_offset(c, joint);
    }
    if (word == "CHANNELS")
    {
        if (joint.endSite) { return c.fail("an End Site has no CHANNELS"); }
        if (progress[index].hasChannels) { return c.fail("a second CHANNELS on one joint"); }
        progress[index].hasChannels = true;
        return read_channels(c, file, joint);
    }
    if (word == "}")
    {
        if (!progress[index].hasOffset) { return c.fail_at(joint.line, "this joint has no OFFSET"); }
        open.pop_back();
        return true;
    }
    if (word == "JOINT" || word == "End")
    {
        if (joint.endSite) { return c.fail("an End Site has no children"); }
        return open_joint(c, file, open, word);
    }
    if (word.empty()) { return c.fail("the file ends inside the joint opened on line " + std::to_string(joint.line)); }
    return c.fail("expected OFFSET, CHANNELS, JOINT, End Site or \"}\", found " + quoted(word));
}

bool read_hierarchy(Cursor& c, BvhFile& file)
{
    if (!expect(c, "HIERARCHY", "at the start (is this a BVH file?)")) { return false; }
    std::vector<int32_t> open;
    std::vector<JointProgress> progress;
    for (;;)
    {
        const std::string_view word = next_word(c);
        if (word == "MOTION" && !file.joints.empty()) { return true; }
        if (word != "ROOT")
        {
            return c.fail("expected \"ROOT\"" + std::string(file.joints.empty() ? "" : " or \"MOTION\"") + ", found " + quoted(word));
        }
        if (!open_joint(c, file, open, word)) { return false; }
        while (!open.empty())
        {
            if (!read_statement(c, file, open, progress)) { return false; }
        }
    }
}

// "Frames:" and "Frame Time:" with or without a blank before the number.
bool read_labelled(Cursor& c, std::string_view label, double& out)
{
    skip_blank_lines(c);
    if (c.text.substr(c.at, label.size()) != label)
    {
        return c.fail("expected \"" + std::string(label) + "\", found " + quoted(next_word(c)));
    }
    c.at += label.size();
    if (at_line_end(c)) { return c.fail("no number after \"" + std::string(label) + "\""); }
    return read_number(c, out, std::string(label).c_str());
}

bool read_motion_header(Cursor& c, BvhFile& file, size_t& frames_line)
{
    double frames = 0.0;
    if (!read_labelled(c, "Frames:", frames)) { return false; }
    frames_line = c.line;
    if (frames < 0.0 || frames != std::floor(frames)) { return c.fail("the number of frames must be a whole number"); }
    if (frames > static_cast<double>(kBvhMaxFrames) || frames * static_cast<double>(file.joints.size()) > static_cast<double>(kBvhMaxPoses))
    {
        return c.fail("more frames than can be held; cut the clip");
    }
    if (!read_labelled(c, "Frame Time:", file.frameTime_s)) { return false; }
    if (file.frameTime_s <= 0.0) { return c.fail("Frame Time must be above 0 seconds"); }
    file.frameCount = static_cast<size_t>(frames);
    return true;
}

bool read_frame(Cursor& c, BvhFile& file, size_t frame)
{
    for (size_t i = 0; i < file.channelCount; ++i)
    {
        if (at_line_end(c))
        {
            return c.fail("frame " + std::to_string(frame) + " has " + std::to_string(i) + " of " + std::to_string(file.channelCount) +
                          " channel values");
        }
        double value = 0.0;
        if (!read_number(c, value, "a channel value")) { return false; }
        file.values.push_back(value);
    }
    if (at_line_end(c)) { return true; }
    return c.fail("frame " + std::to_string(frame) + " has more than " + std::to_string(file.channelCount) + " channel values");
}

// Captured files often hold a frame more than they count; fewer than counted means that something was lost.
bool read_frames(Cursor& c, BvhFile& file, size_t frames_line)
{
    const std::string said = std::to_string(file.frameCount) + " frames said on line " + std::to_string(frames_line);
    // Every value takes two bytes at least, so the text bounds what is worth reserving.
    if (file.frameCount * file.channelCount > c.text.size()) { return c.fail("the file is too short for the " + said); }
    file.values.reserve(file.frameCount * file.channelCount);
    const size_t counted = file.frameCount * file.channelCount;
    for (size_t frame = 0;; ++frame)
    {
        skip_blank_lines(c);
        if (c.at >= c.text.size())
        {
            if (frame < file.frameCount && file.channelCount > 0)
            {
                return c.fail("the file ends after " + std::to_string(frame) + " of the " + said +
                              "; correct the count or restore the rest");
            }
            return true;
        }
        if (file.channelCount == 0) { return c.fail("motion of a skeleton without channels"); }
        if (!read_frame(c, file, frame)) { return false; }
        if (frame >= file.frameCount)
        {
            ++file.surplusFrames;
            file.values.resize(counted);
        }
    }
}

}  // namespace

bool parse_bvh(std::string_view text, const std::string& name, BvhFile& out, std::string& error)
{
    if (text.substr(0, 3) == "\xEF\xBB\xBF") { text.remove_prefix(3); }  // byte order mark of some editors
    Cursor c{text, 0, 1, name, {}};
    BvhFile file;
    size_t frames_line = 0;
    if (!read_hierarchy(c, file) || !read_motion_header(c, file, frames_line) || !read_frames(c, file, frames_line))
    {
        error = c.error;
        return false;
    }
    out = std::move(file);
    return true;
}

bool read_bvh_file(const std::string& path, BvhFile& out, std::string& error)
{
    std::error_code status;
    const bool regular = std::filesystem::is_regular_file(path, status);
    const uintmax_t size = regular ? std::filesystem::file_size(path, status) : 0;
    if (!regular || status)
    {
        error = path + ": no such file";
        return false;
    }
    if (size == 0 || size > kMaxFileBytes)
    {
        error = path + (size == 0 ? ": the file is empty" : ": larger than 512 MB; cut the clip");
        return false;
    }
    std::ifstream stream(path, std::ios::binary);
    std::string text(static_cast<size_t>(size), '\0');
    if (!stream.read(text.data(), static_cast<std::streamsize>(text.size())))
    {
        error = path + ": cannot be read";
        return false;
    }
    return parse_bvh(text, path, out, error);
}

}  // namespace limbrex_host
