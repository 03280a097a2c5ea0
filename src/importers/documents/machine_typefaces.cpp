#include "importers/documents/machine_typefaces.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cctype>
#include <memory>

namespace ks::documents {
namespace {

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

struct PatternFree {
  void operator()(FcPattern* p) const { FcPatternDestroy(p); }
};
struct ObjectSetFree {
  void operator()(FcObjectSet* s) const { FcObjectSetDestroy(s); }
};
struct FontSetFree {
  void operator()(FcFontSet* s) const { FcFontSetDestroy(s); }
};

}  // namespace

MachineTypefaces MachineTypefaces::Installed() {
  MachineTypefaces machine;
  if (FcInit() == FcFalse) return machine;
  machine.from_fontconfig_ = true;
  const std::unique_ptr<FcPattern, PatternFree> any(FcPatternCreate());
  const std::unique_ptr<FcObjectSet, ObjectSetFree> wanted(
      FcObjectSetBuild(FC_FAMILY, FC_SPACING, static_cast<char*>(nullptr)));
  if (!any || !wanted) return machine;
  const std::unique_ptr<FcFontSet, FontSetFree> fonts(FcFontList(nullptr, any.get(), wanted.get()));
  if (!fonts) return machine;
  for (int i = 0; i < fonts->nfont; ++i) {
    FcChar8* family = nullptr;
    if (FcPatternGetString(fonts->fonts[i], FC_FAMILY, 0, &family) != FcResultMatch) continue;
    int spacing = FC_PROPORTIONAL;
    FcPatternGetInteger(fonts->fonts[i], FC_SPACING, 0, &spacing);
    machine.typefaces_.push_back({reinterpret_cast<const char*>(family), spacing >= FC_MONO});
  }
  std::sort(machine.typefaces_.begin(), machine.typefaces_.end(),
            [](const Typeface& a, const Typeface& b) { return a.family < b.family; });
  machine.typefaces_.erase(std::unique(machine.typefaces_.begin(), machine.typefaces_.end(),
                                       [](const Typeface& a, const Typeface& b) {
                                         return a.family == b.family;
                                       }),
                           machine.typefaces_.end());
  return machine;
}

MachineTypefaces::MachineTypefaces(std::vector<Typeface> typefaces, std::string stand_in)
    : typefaces_(std::move(typefaces)), stand_in_(std::move(stand_in)) {}

const Typeface* MachineTypefaces::Find(std::string_view family) const {
  const auto found = std::find_if(typefaces_.begin(), typefaces_.end(), [family](const Typeface& t) {
    return SameIgnoringCase(t.family, family);
  });
  return found == typefaces_.end() ? nullptr : &*found;
}

std::string MachineTypefaces::StandIn(std::string_view family) const {
  if (!from_fontconfig_) return stand_in_;
  const std::string name(family);
  const std::unique_ptr<FcPattern, PatternFree> pattern(FcPatternCreate());
  if (!pattern) return {};
  FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(name.c_str()));
  FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
  FcDefaultSubstitute(pattern.get());
  FcResult result = FcResultNoMatch;
  const std::unique_ptr<FcPattern, PatternFree> match(FcFontMatch(nullptr, pattern.get(), &result));
  FcChar8* found = nullptr;
  if (!match || FcPatternGetString(match.get(), FC_FAMILY, 0, &found) != FcResultMatch) return {};
  return reinterpret_cast<const char*>(found);
}

}  // namespace ks::documents
