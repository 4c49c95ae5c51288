// Shows how the time to list and take stamps grows over the device library in memory, and that
// listing unchanged devices again and again takes no more memory.
//
//     growth_bench FOLDER
//
// FOLDER receives growth.rows with the rows of the tables: what grows, how much of it, microseconds
// of the library, of the floor, for one unit against the first row; and growth.samples with all
// samples. Tab-separated.

#include <fstream>

#include "memory_device.h"
#include "operations.h"
#include "output.h"
#include "program.h"
#include "sampling.h"

namespace {

constexpr std::size_t size_on_many = 4U << 10;
constexpr double seconds = 1;
constexpr std::size_t least_pairs = 7;
constexpr int known_uuids = 100000;
constexpr int enumerations = 100000;

class growth_table {
public:
    growth_table(std::FILE* table, const std::string& folder)
        : table_(table), rows_(folder + "/growth.rows"), samples_(folder + "/growth.samples") {}

    void begin(const char* what, const char* unit) {
        what_ = what;
        first_ = 0;
        std::fprintf(table_, "\n%-26s %12s %12s %9s %12s %9s\n", what, "library", "floor", "ratio",
                     (std::string("per ") + unit).c_str(), "of first");
    }

    void row(const std::string& amount, double units,
             const std::vector<bench::sample_pair>& pairs) {
        const bench::sample_pair time = bench::medians(pairs);
        bench::write_samples(samples_, what_, amount, pairs);
        const double each = time.library / units;
        if (first_ == 0) first_ = each;
        std::fprintf(table_, "%26s %12.1f %12.1f %9.2f %12.2f %9.2f\n", amount.c_str(),
                     time.library, time.floor, time.library / time.floor, each, each / first_);
        rows_ << what_ << '\t' << amount << '\t' << time.library << '\t' << time.floor << '\t'
              << each / first_ << '\n';
    }

    void note(const char* what, const std::string& amount, long value, const char* unit) {
        std::fprintf(table_, "\n%s %s: %ld %s\n", amount.c_str(), what, value, unit);
        rows_ << what << '\t' << amount << '\t' << value << '\n';
    }

    bool is_written() const { return rows_.good() && samples_.good(); }

private:
    std::FILE* table_;
    std::ofstream rows_;
    std::ofstream samples_;
    std::string what_;
    double first_ = 0;
};

// Lists and takes all stamps that there are.
std::vector<bench::sample_pair> _times_of_listing() {
    const auto library = bench::make_library_program();
    const auto floor = bench::make_floor_program();
    return bench::sample_in_turn(bench::timed_listing(*library), bench::timed_listing(*floor),
                                 seconds, least_pairs);
}

void _grow_devices(growth_table& table) {
    memory_device_attach(64);
    bench::fill_devices(64, size_on_many);
    table.begin("devices, 5 x 4 KiB each", "device");
    for (const int devices : {1, 4, 16, 64}) {
        memory_device_attach(devices);
        table.row(std::to_string(devices), devices, _times_of_listing());
    }
}

void _grow_stamps(growth_table& table) {
    memory_device_attach(1);
    table.begin("size of each of 5 stamps", "KiB");
    for (std::size_t size = 1U << 10; size <= 16U << 20; size *= 4) {
        bench::fill_devices(1, size);
        table.row(bench::size_text(size), static_cast<double>(size) / 1024, _times_of_listing());
    }
}

// Every new serial number makes five new uuids known; none is ever forgotten.
void _grow_known_uuids(growth_table& table) {
    bench::fill_devices(1, 1024);
    table.begin("known uuids", "listing of 5");
    table.row("few", 1, _times_of_listing());
    const auto library = bench::make_library_program();
    const long before = bench::resident_kib();
    for (int number = 2; number <= known_uuids / bench::stamps_per_device; ++number) {
        memory_device_rename_first(number);
        library->list_and_take();
    }
    table.row(std::to_string(known_uuids), 1, _times_of_listing());
    table.note("uuids take", std::to_string(known_uuids), bench::resident_kib() - before, "KiB");
}

void _enumerate_unchanged(growth_table& table) {
    const auto library = bench::make_library_program();
    for (int i = 0; i < 1000; ++i)
        library->list_and_take();
    const long before = bench::resident_kib();
    for (int i = 0; i < enumerations; ++i)
        library->list_and_take();
    table.note("enumerations of an unchanged device gain", std::to_string(enumerations),
               bench::resident_kib() - before, "KiB");
}

}  // namespace

int main(int argc, char** argv) {
    bench::require(argc == 2, "usage: growth_bench FOLDER");
    growth_table table(bench::hide_trace(), argv[1]);
    _grow_devices(table);
    _grow_stamps(table);
    _grow_known_uuids(table);
    _enumerate_unchanged(table);
    bench::require(table.is_written(), "cannot write the results");
    return 0;
}
