#include "host/animation/import.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

#include "host/animation/bvh_import.h"
#include "host/animation/bvh_reader.h"
#include "host/animation/import_assimp.h"
#include "host/animation/import_units.h"

namespace limbrex_host
{
namespace
{

std::string lower_extension(const std::filesystem::path& path)
{
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char ch) { return static_cast<char>(std::tolower(static_cast<unsigned char>(ch))); });
    return extension;
}

bool read_bvh(const std::string& path, Asset& out, std::string& error)
{
    BvhFile file;
    if (!read_bvh_file(path, file, error)) { return false; }
    asset_from_bvh(file, std::filesystem::path(path).stem().string(), out);
    return true;
}

}  // namespace

bool import_asset(const std::string& path, const ImportOptions& options, Asset& out, std::string& error)
{
    if (options.metresPerUnit < 0.0 || !std::isfinite(options.metresPerUnit))
    {
        error = path + ": the unit must be a positive number of metres";
        return false;
    }
    const std::string extension = lower_extension(path);
    Asset asset;
    asset.path = path;
    DeclaredFrame declared;
    const bool read = extension == ".bvh" ? read_bvh(path, asset, error) : read_with_assimp(path, asset, declared, error);
    if (!read) { return false; }
    settle_frame_and_unit(asset, options, declared);
    out = std::move(asset);
    return true;
}

bool import_asset(const std::string& path, Asset& out, std::string& error) { return import_asset(path, ImportOptions{}, out, error); }

}  // namespace limbrex_host
