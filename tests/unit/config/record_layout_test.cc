// Proves the layout descriptions against themselves and against each other:
// every field inside its record, every byte described exactly once (each
// alternative of SensorConf on its own), natural alignment, unique names,
// lookups that find exactly what a walk of the rows finds, and condition
// tables where the service table says they are.
#include "config/record_layout.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "config/layouts/known_files.h"
#include "config/svc_files.h"

namespace {

using config::Field;
using config::FieldType;
using config::Layout;

// Handlers resolve their fields at compile time; a misspelt name stops the
// build. These are the forms they use.
constexpr config::FieldRef kSmtpServer = config::MustFind(config::kMailConf, "SmtpServer");
constexpr config::FieldRef kMailPort = config::MustFind(config::kMailConf, "Port");
constexpr config::FieldRef kMailImageCount = config::MustFind(config::kMailPortEntry, "ImageCount");
static_assert(kSmtpServer.found() && kSmtpServer.type == FieldType::kChar);
static_assert(config::FindField(config::kMailConf, "SmtpServer").found());
static_assert(!config::FindField(config::kMailConf, "SmtpServr").found());
static_assert(kMailPort.At(2).Then(kMailImageCount).offset ==
              config::FindField(config::kMailConf, "Port2.ImageCount").offset);
static_assert(SvcCondTableOffset(config::kFtpSigSvcConf, 3) == 2380);

void CollectLayouts(const Layout& layout, std::vector<const Layout*>& out) {
  for (const Layout* known : out) {
    if (known == &layout) return;
  }
  out.push_back(&layout);
  for (const Field& field : layout.fields) {
    if (field.block != nullptr) CollectLayouts(*field.block, out);
  }
}

// Every layout: those of the known files and every nested block layout.
std::vector<const Layout*> AllLayouts() {
  std::vector<const Layout*> layouts;
  for (const config::KnownFile& file : config::kKnownFiles) CollectLayouts(*file.layout, layouts);
  return layouts;
}

// The field sets a record can be read with: the common fields alone, or the
// common fields with one alternative.
std::vector<std::vector<const Field*>> Views(const Layout& layout) {
  std::vector<const Field*> common;
  for (const Field& field : layout.fields) common.push_back(&field);
  if (layout.alternatives.empty()) return {common};
  std::vector<std::vector<const Field*>> views;
  for (const config::Alternative& alternative : layout.alternatives) {
    std::vector<const Field*> view = common;
    for (const Field& field : alternative.fields) view.push_back(&field);
    views.push_back(view);
  }
  return views;
}

std::string ElementName(const Field& field, std::uint32_t element) {
  std::string name(field.name);
  if (field.indexed()) name += std::to_string(field.first_index + element);
  return name;
}

struct Leaf {
  std::string path;
  std::uint32_t offset;
  const Field* field;
};

// Every element of every field, blocks entered, with its full path;
// alternatives' fields under both their plain and their qualified path.
void Expand(const Layout& layout, std::uint32_t base, const std::string& prefix, std::vector<Leaf>& out) {
  auto expand_fields = [&](std::span<const Field> fields, const std::string& at_prefix) {
    for (const Field& field : fields) {
      for (std::uint32_t i = 0; i < field.elements(); ++i) {
        const std::string path = at_prefix + ElementName(field, i);
        const std::uint32_t offset = base + field.ElementOffset(i);
        out.push_back({path, offset, &field});
        if (field.block != nullptr) Expand(*field.block, offset, path + ".", out);
      }
    }
  };
  expand_fields(layout.fields, prefix);
  for (const config::Alternative& alternative : layout.alternatives) {
    expand_fields(alternative.fields, prefix + std::string(alternative.name) + ".");
  }
}

TEST(RecordLayout, EveryFieldLiesInsideItsRecord) {
  for (const Layout* layout : AllLayouts()) {
    for (const auto& view : Views(*layout)) {
      for (const Field* field : view) {
        EXPECT_GT(field->width, 0u) << layout->name << "." << field->name;
        EXPECT_LE(field->end(), layout->size) << layout->name << "." << field->name;
        if (field->count > 1) {
          EXPECT_GE(field->stride, field->width) << layout->name << "." << field->name;
        }
      }
    }
  }
}

TEST(RecordLayout, TypesHaveTheirWidths) {
  for (const Layout* layout : AllLayouts()) {
    for (const auto& view : Views(*layout)) {
      for (const Field* field : view) {
        SCOPED_TRACE(std::string(layout->name) + "." + std::string(field->name));
        if (config::TypeWidth(field->type) != 0) {
          EXPECT_EQ(field->width, config::TypeWidth(field->type));
        }
        if (field->type == FieldType::kBlock) {
          ASSERT_NE(field->block, nullptr);
          EXPECT_EQ(field->width, field->block->size);
          EXPECT_EQ(field->stride, field->width);  // blocks lie back to back
        } else {
          EXPECT_EQ(field->block, nullptr);
        }
      }
    }
  }
}

TEST(RecordLayout, NumbersAndBlocksAreNaturallyAligned) {
  for (const Layout* layout : AllLayouts()) {
    for (const auto& view : Views(*layout)) {
      for (const Field* field : view) {
        std::uint32_t alignment = 1;
        if (field->type == FieldType::kU16) alignment = 2;
        if (field->type == FieldType::kU32 || field->type == FieldType::kI32 ||
            field->type == FieldType::kBlock) {
          alignment = 4;
        }
        for (std::uint32_t i = 0; i < field->elements(); ++i) {
          EXPECT_EQ(field->ElementOffset(i) % alignment, 0u)
              << layout->name << "." << ElementName(*field, i) << " at " << field->ElementOffset(i);
        }
      }
    }
  }
}

TEST(RecordLayout, EveryByteIsDescribedExactlyOncePerView) {
  for (const Layout* layout : AllLayouts()) {
    for (const auto& view : Views(*layout)) {
      std::vector<int> owners(layout->size, 0);
      for (const Field* field : view) {
        for (std::uint32_t i = 0; i < field->elements(); ++i) {
          for (std::uint32_t b = 0; b < field->width; ++b) {
            const std::uint32_t at = field->ElementOffset(i) + b;
            if (at < layout->size) ++owners[at];
          }
        }
      }
      for (std::uint32_t at = 0; at < layout->size; ++at) {
        ASSERT_EQ(owners[at], 1) << layout->name << " byte " << at;
      }
    }
  }
}

TEST(RecordLayout, NamesAreUniqueAndAlternativesAgreeOnSharedNames) {
  for (const Layout* layout : AllLayouts()) {
    for (const auto& view : Views(*layout)) {
      std::set<std::string> names;
      for (const Field* field : view) {
        for (std::uint32_t i = 0; i < field->elements(); ++i) {
          EXPECT_TRUE(names.insert(ElementName(*field, i)).second)
              << layout->name << ": " << ElementName(*field, i) << " twice";
        }
      }
    }
    std::map<std::string_view, const Field*> seen;
    for (const config::Alternative& alternative : layout->alternatives) {
      for (const Field& field : alternative.fields) {
        if (field.role != config::FieldRole::kValue) continue;
        const auto [it, inserted] = seen.emplace(field.name, &field);
        if (inserted) continue;
        EXPECT_EQ(it->second->offset, field.offset) << field.name;
        EXPECT_EQ(it->second->type, field.type) << field.name;
        EXPECT_EQ(it->second->width, field.width) << field.name;
      }
    }
  }
}

TEST(RecordLayout, LookupFindsEveryElementWhereTheWalkPutsIt) {
  for (const config::KnownFile& file : config::kKnownFiles) {
    std::vector<Leaf> leaves;
    Expand(*file.layout, 0, "", leaves);
    for (const Leaf& leaf : leaves) {
      const config::FieldRef ref = config::FindField(*file.layout, leaf.path);
      ASSERT_TRUE(ref.found()) << file.file_name << ": " << leaf.path;
      EXPECT_EQ(ref.offset, leaf.offset) << file.file_name << ": " << leaf.path;
      EXPECT_EQ(ref.type, leaf.field->type) << leaf.path;
      EXPECT_EQ(ref.width, leaf.field->width) << leaf.path;
      EXPECT_EQ(ref.count, 0u) << leaf.path;
    }
  }
}

TEST(RecordLayout, LookupRefusesWhatIsNotThere) {
  struct Case {
    const Layout* layout;
    const char* path;
  };
  const Case cases[] = {
      {&config::kMailConf, "Nope"},
      {&config::kMailConf, "Recipient3"},
      {&config::kMailConf, "Recipient01"},
      {&config::kMailConf, "Port4.ImageCount"},
      {&config::kMailConf, "Port02.ImageCount"},
      {&config::kMailConf, "Port.ImageCount"},
      {&config::kMailConf, "Port0.Cond3.SMon"},
      {&config::kMailConf, "Port0.Cond0.Nope"},
      {&config::kMailConf, "SmtpServer.Nope"},
      {&config::kMailConf, "Port0."},
      {&config::kMailConf, ""},
      {&config::kDiCgiConf, "IpAddrAux0"},
      {&config::kDiCgiConf, "IpAddrAux4"},
      {&config::kSensorModel, "VarLength16"},
      {&config::kSensorModel, "VarAddr17"},
      {&config::kSensorConf, "Type5.OsdStartX"},
      {&config::kSensorConf, "Type0.OsdStartX"},
      {&config::kPtzConf, "Module1.Port2.PresetName256"},
      {&config::kCallConf, "Port0.Cond0.SMon"},
  };
  for (const Case& c : cases) EXPECT_FALSE(config::FindField(*c.layout, c.path).found()) << c.path;
}

TEST(RecordLayout, WholeArraysStepToTheirElements) {
  const config::FieldRef recipients = config::FindField(config::kMailConf, "Recipient");
  ASSERT_TRUE(recipients.found());
  EXPECT_EQ(recipients.count, 3u);
  EXPECT_EQ(recipients.At(2).offset, config::FindField(config::kMailConf, "Recipient2").offset);
  const config::FieldRef aux = config::FindField(config::kDiCgiConf, "IpAddrAux");
  EXPECT_EQ(aux.At(1).offset, config::FindField(config::kDiCgiConf, "IpAddrAux1").offset);
  EXPECT_EQ(aux.At(3).offset, config::FindField(config::kDiCgiConf, "IpAddrAux3").offset);
  const config::FieldRef modules = config::FindField(config::kPtzConf, "Module");
  const config::FieldRef ports = config::FindField(config::kPtzModuleBlock, "Port");
  const config::FieldRef preset = config::FindField(config::kPtzPortBlock, "PresetName7");
  EXPECT_EQ(modules.At(1).Then(ports.At(2)).Then(preset).offset,
            config::FindField(config::kPtzConf, "Module1.Port2.PresetName7").offset);
}

TEST(RecordLayout, AlternativesAreFoundPlainAndQualified) {
  const config::FieldRef plain = config::FindField(config::kSensorConf, "OsdStartY");
  const config::FieldRef qualified = config::FindField(config::kSensorConf, "Type3.OsdStartY");
  ASSERT_TRUE(plain.found());
  EXPECT_EQ(plain.offset, qualified.offset);
  // Fields of the type-0 set and of the type-3 set share their bytes.
  EXPECT_EQ(config::FindField(config::kSensorConf, "SnsAimPosition").offset,
            config::FindField(config::kSensorConf, "OsdStartX").offset);
}

// The condition table of each entry is the first of three condition records
// that a walk of the record finds there, and every condition record of the
// record belongs to one such table.
TEST(SvcFiles, ConditionTablesAreWhereTheWalkFindsConditionRecords) {
  for (int id = 0; id < kSvcCount; ++id) {
    const Layout& layout = *FindSvcFile(id)->layout;
    SCOPED_TRACE(std::string(layout.name));
    std::vector<Leaf> leaves;
    Expand(layout, 0, "", leaves);
    std::set<std::uint32_t> cond_records;
    for (const Leaf& leaf : leaves) {
      if (leaf.field->block == &config::kSvcCond) cond_records.insert(leaf.offset);
    }
    const bool has_ports = config::FindField(layout, "Port").found();
    std::set<std::uint32_t> from_tables;
    for (int entry = 0; entry < 4; ++entry) {
      const std::uint32_t table = SvcCondTableOffset(layout, entry);
      const std::string first = has_ports ? "Port" + std::to_string(entry) + ".Cond0" : "Cond0";
      EXPECT_EQ(table, config::FindField(layout, first).offset) << entry;
      EXPECT_LE(table + 3 * config::kSvcCond.size, layout.size);
      for (std::uint32_t c = 0; c < config::kSvcCondCount; ++c)
        from_tables.insert(table + c * config::kSvcCond.size);
    }
    EXPECT_EQ(from_tables, cond_records);
    EXPECT_EQ(cond_records.size(), (has_ports ? 4u : 1u) * config::kSvcCondCount);
  }
  EXPECT_EQ(SvcCondTableOffset(config::kFtpSigSvcConf, 3), 2380u);
  for (int entry = 0; entry < 6; ++entry) EXPECT_EQ(SvcCondTableOffset(config::kCallConf, entry), 8u);
}

TEST(KnownFiles, NamesAreUniqueAndFoundByFileOrRecordName) {
  std::set<std::string_view> names;
  for (const config::KnownFile& file : config::kKnownFiles) {
    EXPECT_TRUE(names.insert(file.file_name).second) << file.file_name;
    EXPECT_TRUE(names.insert(file.layout->name).second) << file.layout->name;
    EXPECT_EQ(config::FindKnownFile(file.file_name), &file);
    EXPECT_EQ(config::FindKnownFile(file.layout->name), &file);
    // Catalogue readers step from record to record by its size.
    if (file.kind == config::FileKind::kCatalogue) {
      EXPECT_TRUE(config::FindField(*file.layout, "RecordSize").found()) << file.file_name;
    }
  }
  EXPECT_EQ(config::FindKnownFile("Nope.bin"), nullptr);
}

}  // namespace
