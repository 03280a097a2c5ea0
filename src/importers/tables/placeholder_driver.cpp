#include "importers/tables/placeholder_driver.h"

namespace ks::tables {
namespace {

class PlaceholderDriver : public TableDriver {
 public:
  explicit PlaceholderDriver(std::string name) : name_(std::move(name)) {}
  const std::string& Name() const override { return name_; }
  std::unique_ptr<TableConnection> Connect(const ConnectionString&, const TableReadOptions&) override {
    throw TableError(TableError::Kind::kOther, name_ + " cannot read tables yet");
  }

 private:
  std::string name_;
};

}  // namespace

std::unique_ptr<TableDriver> MakePlaceholderDriver(std::string name) {
  return std::make_unique<PlaceholderDriver>(std::move(name));
}

}  // namespace ks::tables
