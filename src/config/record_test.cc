// Binary records: fields found by path (offsets worked out by hand from the
// layout rows), loaded and stored by type, and the files read and written
// whole, of a module or of the root.
#include <gtest/gtest.h>

#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/svc_cfg_file.h"
#include "harness/device_root.h"
#include "harness/in_process.h"

namespace config {
namespace {

TEST(Record, PathsByNameIndexAndAlternative) {
  // clang-format off
  const std::tuple<const Layout*, const char*, int64_t> rows[] = {  // offset -1: not found
      {&kMailConf, "Recipient2", 332},        {&kMailConf, "Port2.ImageCount", 2824}, {&kMailConf, "Port0.Cond1.SMon", 996},
      {&kSensorModel, "VarLength9", 204},     {&kSensorConf, "Type3.OsdStartY", 12},  {&kSensorConf, "LinkedModId", 16},
      {&kMailConf, "Recipient3", -1},         {&kMailConf, "Recipient01", -1},        {&kMailConf, "Port4.ImageCount", -1},
      {&kMailConf, "Port0.Cond3.SMon", -1},   {&kMailConf, "SmtpServer.Nope", -1},    {&kSensorConf, "Type0.OsdStartX", -1}};
  // clang-format on
  for (const auto& [layout, path, offset] : rows) {
    const FieldRef ref = FindField(*layout, path);
    EXPECT_EQ(ref.found() ? int64_t{ref.offset} : -1, offset) << layout->name << " " << path;
  }
}

TEST(Record, NumbersByTypeAndTextsWithTheirNul) {
  std::vector<uint8_t> bytes(kMailConf.size, 0);  // the fields of two layouts, at their offsets
  const FieldRef port = FindField(kMailConf, "SmtpPort"), user = FindField(kMailConf, "UserId");
  const FieldRef smon = FindField(kSvcCond, "SMon"), used = FindField(kSvcCond, "Used");
  for (const FieldRef& ref : {smon, used}) StoreNumber(bytes, ref, -1);
  StoreNumber(bytes, port, 70000);
  EXPECT_EQ(LoadNumber(bytes, port), 4464);
  EXPECT_EQ(LoadNumber(bytes, smon), -1);
  EXPECT_EQ(LoadNumber(bytes, used), 0xFFFFFFFF);
  EXPECT_TRUE(StoreText(bytes, user, std::string(31, 'u')));
  EXPECT_FALSE(StoreText(bytes, user, std::string(32, 'x')));  // no room for the NUL
  EXPECT_EQ(LoadText(bytes, user), std::string(31, 'u'));
}

// A module's file is written with its directories made; a service file
// yields the condition table of an entry, as an offset in the service's
// image (-1: refused), when it is whole (cut: bytes missing).
TEST(Record, FilesAndServiceConditionTables) {
  harness::DeviceRoot root;
  root.MakeCurrent();
  root.Remove("/opt");
  std::vector<uint8_t> bytes(36, 0x5a), read(40);
  EXPECT_EQ(CfgFileWrite(2, "X.bin", bytes), 36);
  EXPECT_EQ(root.Read("/opt/vsb/etc/NxConf/NxModId2/X.bin"), std::string(36, 0x5a));
  EXPECT_EQ(std::pair(CfgFileRead(2, "X.bin", read), CfgFileRead(-1, "X.bin", read)), std::pair(36, -1));
  // clang-format off
  const std::tuple<int, int, int, int> rows[] = {
      {SSVCID_MAIL, 3, 0, 3876}, {SSVCID_MAIL, 4, 0, -1}, {SSVCID_MAIL, -1, 0, -1}, {SSVCID_CALL, 0, 1, -1}};
  // clang-format on
  for (const auto& [id, entry, cut, table] : rows) {
    const std::string bytes = harness::Pattern(FindSvcFile(id)->layout->size - cut);
    root.Write("/opt/vsb/etc/NxConf/NxModId1/" + std::string(FindSvcFile(id)->file_name), bytes);
    std::string image;
    const auto load = [&, id = id, entry = entry] {
      const uint8_t* at = LoadSvcCfgFile(1, id, entry);
      image.assign(SvcImage(id).begin(), SvcImage(id).end());
      return at ? static_cast<int>(at - SvcImage(id).data()) : -1;
    };
    EXPECT_EQ(harness::RunInProcess(load).result, table) << id << " " << entry << " " << cut;
    EXPECT_TRUE(table < 0 || image == bytes) << id;
  }
}

}  // namespace
}  // namespace config
