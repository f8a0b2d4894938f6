#include "faults/scenarios.h"

#include "faults/profile_scenario.h"
#include "kowen/codes.h"

namespace kowen::test {
namespace {

constexpr int k422 = KOWEN_FORMAT_YCC422;
constexpr int k444 = KOWEN_FORMAT_RGB444;
constexpr int kGrey = KOWEN_FORMAT_GREY;
constexpr int kSeq = KOWEN_OPERATION_SEQUENTIAL;
constexpr int kProg = KOWEN_OPERATION_PROGRESSIVE;
constexpr Pattern kSoft = Pattern::kSoft;
constexpr Pattern kNoise = Pattern::kNoise;

constexpr DoorKind kBitmap = DoorKind::kBitmap;
constexpr DoorKind kRaster = DoorKind::kRaster;
constexpr DoorKind kBlunt = DoorKind::kRasterBlunt;
constexpr DoorKind kCells = DoorKind::kRasterCells;
constexpr Output kFile = Output::kFile;
constexpr Output kMemory = Output::kMemory;
constexpr Output kHost = Output::kHost;
constexpr Output kUnnamed = Output::kHostUnnamed;

// Formats that reduce the colours give bits that the coder does not take: these files stay
// unfinished. The wide picture fills more than a bounce buffer with each MCU row, and more
// than a disk buffer.
const std::vector<ExportCase> kSmallExports = {
    {kBitmap, kFile, 24, 16, 10, kSoft, k422, kSeq, 75, 0, 0, 644, 0x61401C24A6CC573Bu},
    {kBitmap, Output::kFileWithoutInput, 24, 16, 10, kSoft, k422, kSeq, 75, 0, 0, 644,
     0x61401C24A6CC573Bu},
    {kBitmap, kFile, 1, 16, 10, kNoise, k422, kSeq, 75, 0, 0, 658, 0x9BC7EB1AC1EC4C78u},
    {kBitmap, kFile, 24, 16, 10, kSoft, k422, kProg, 75, 0, 0, 703, 0xEC1C905BC48CD8D1u},
    {kBitmap, kFile, 24, 20, 12, kSoft, k422, kSeq, 75, 10, 6, 631, 0xE21E5BE87782C1F7u},
    {kBitmap, kFile, 24, 16, 10, kSoft, 221, kSeq, 75, 0, 0, 594, 0xA3B13FFD3284390Au},
    {kBitmap, kFile, 24, 16, 10, kSoft, 219, kSeq, 75, 0, 0, 594, 0xA3B13FFD3284390Au},
    {kBitmap, kFile, 8, 16, 10, kNoise, 218, kSeq, 75, 20, 16, 594, 0x47FAD5342D49CDECu},
    {kBitmap, kFile, 24, 1400, 10, kNoise, k444, kSeq, 100, 0, 0, 52988, 0x7454E393B41F6D30u},
    {kBitmap, kMemory, 8, 16, 10, kNoise, k444, kSeq, 75, 0, 0, 846, 0xBABBF6BA8A1B106Eu},
    {kBitmap, kMemory, 32, 16, 10, kNoise, k422, kSeq, 75, 0, 0, 729, 0x5D590AFFE225BF10u},
    {kBitmap, kMemory, 24, 5, 50, kNoise, k422, kSeq, 100, 0, 0, 1613, 0x66093141704BABC6u},
    {kBitmap, kMemory, 24, 40, 40, kNoise, k422, kProg, 100, 0, 0, 3376, 0x41743C5187E45F9Bu},
    {kBitmap, kHost, 4, 16, 10, kNoise, kGrey, kSeq, 75, 0, 0, 681, 0xFC736612C98AB03Du},
    {kBitmap, kHost, 24, 33, 26, kNoise, k422, kSeq, 90, 0, 0, 1618, 0xB5B2A0B3303E0945u},
    {kBitmap, kHost, 8, 10, 6, kNoise, k422, kProg, 75, 20, 12, 842, 0x7AC3F98C34BC0375u},
    {kBitmap, kUnnamed, 24, 8, 8, kSoft, k444, kSeq, 75, 0, 0, 623, 0xB166BC2EE83CF02Bu},
    {kRaster, kFile, 24, 16, 10, kSoft, k422, kSeq, 75, 0, 0, 644, 0x61401C24A6CC573Bu},
    {kRaster, kFile, 8, 16, 10, kNoise, k444, kSeq, 75, 0, 0, 846, 0xBABBF6BA8A1B106Eu},
    {kRaster, kFile, 24, 1400, 10, kNoise, k444, kSeq, 100, 0, 0, 52988, 0x7454E393B41F6D30u},
    {kRaster, kMemory, 1, 16, 10, kNoise, kGrey, kSeq, 75, 0, 0, 652, 0x01FF015D5266B48Du},
    {kRaster, kMemory, 24, 5, 50, kNoise, k422, kSeq, 100, 0, 0, 1613, 0x66093141704BABC6u},
    {kRaster, kHost, 24, 33, 26, kNoise, k422, kSeq, 90, 0, 0, 1618, 0xB5B2A0B3303E0945u},
    {kRaster, kHost, 4, 20, 12, kNoise, k422, kProg, 75, 10, 6, 722, 0x1D43A114211802A7u},
    {kRaster, kUnnamed, 24, 8, 8, kSoft, k444, kSeq, 75, 0, 0, 623, 0xB166BC2EE83CF02Bu},
    {kBlunt, kFile, 8, 16, 10, kNoise, k422, kSeq, 75, 0, 0, 738, 0xBE78C6C36D7C5073u},
    {kBlunt, kHost, 24, 16, 10, kSoft, k422, kSeq, 75, 0, 0, 644, 0x61401C24A6CC573Bu},
    {kBlunt, kMemory, 24, 16, 10, kSoft, k422, kProg, 75, 0, 0, 703, 0xEC1C905BC48CD8D1u},
    {kCells, kFile, 8, 20, 12, kNoise, k422, kSeq, 75, 10, 6, 614, 0xFBED1FCDD936F06Au},
    {kCells, kHost, 24, 10, 6, kNoise, k444, kSeq, 75, 20, 12, 630, 0x7369BAEF5E7EF39Fu},
    {DoorKind::kExport, kFile, 24, 1, 1, kSoft, k422, kSeq, 75, 0, 0, 0, 0},
    {DoorKind::kExport, kMemory, 24, 1, 1, kSoft, k422, kSeq, 75, 0, 0, 0, 0},
    {DoorKind::kExport, kHost, 24, 1, 1, kSoft, k422, kSeq, 75, 0, 0, 0, 0},
};

std::vector<NamedScenario> ScenariosOf(const std::vector<ExportCase> &exports) {
    std::vector<NamedScenario> scenarios;
    for (const ExportCase &given : exports)
        scenarios.push_back({NameOf(given), [given] { return MakeExportScenario(given); }});
    for (const ProfileWork work : {ProfileWork::kRead, ProfileWork::kSave, ProfileWork::kCreate})
        scenarios.push_back(
            {MakeProfileScenario(work)->Name(), [work] { return MakeProfileScenario(work); }});
    return scenarios;
}

// A picture at its own size, shrunk and stretched.
void AddSizes(ExportCase given, std::vector<ExportCase> &list) {
    list.push_back(given);
    given.targetWidth = given.width / 2;
    given.targetHeight = given.height / 2;
    list.push_back(given);
    given.targetWidth = given.width * 2;
    given.targetHeight = given.height * 2;
    list.push_back(given);
}

} // namespace

const std::vector<ExportCase> &SmallExports() {
    return kSmallExports;
}

std::vector<ExportCase> LargeExports() {
    std::vector<ExportCase> list = kSmallExports;
    for (const DoorKind door : {kBitmap, kRaster, kBlunt, kCells})
        for (const Output output : {kFile, kMemory, kHost})
            for (const int depth : {1, 4, 8, 24, 32})
                for (const auto &[format, operation] :
                     {std::pair{k422, kSeq}, {k422, kProg}, {k444, kSeq}, {kGrey, kSeq}})
                    AddSizes(
                        {door, output, depth, 40, 24, kNoise, format, operation, 90, 0, 0, 0, 0},
                        list);
    for (const int format : {216, 217, 218, 219, 221})
        for (const int depth : {1, 4, 8, 24, 32})
            AddSizes({kBitmap, kFile, depth, 24, 16, kNoise, format, kSeq, 75, 0, 0, 0, 0}, list);
    return list;
}

std::vector<NamedScenario> SmallScenarios() {
    return ScenariosOf(kSmallExports);
}

std::vector<NamedScenario> LargeScenarios() {
    return ScenariosOf(LargeExports());
}

} // namespace kowen::test
