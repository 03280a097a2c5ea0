// MachineTypefaces: the typefaces this machine has, as fontconfig lists
// them, for the font table of a rich-text header: whether a font the
// database names is there, whether it is of fixed pitch, and which face
// stands in for it when it is not.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ks::documents {

struct Typeface {
  std::string family;
  bool fixed_pitch = false;
};

class MachineTypefaces {
 public:
  // The typefaces fontconfig lists; none when it cannot be set up (the
  // header then names the fonts as the database does, without stand-ins).
  static MachineTypefaces Installed();
  // A given list, with `stand_in` for every font not in it.
  MachineTypefaces(std::vector<Typeface> typefaces, std::string stand_in);

  // The typeface of that family name (any case); null when there is none.
  const Typeface* Find(std::string_view family) const;
  // The face that is shown instead of `family`: the machine's best match
  // for it; "" when nothing is known.
  std::string StandIn(std::string_view family) const;

  const std::vector<Typeface>& all() const { return typefaces_; }

 private:
  MachineTypefaces() = default;

  std::vector<Typeface> typefaces_;  // sorted by family, each once
  bool from_fontconfig_ = false;     // StandIn asks fontconfig
  std::string stand_in_;             // otherwise the one stand-in
};

}  // namespace ks::documents
