// tracknoise-metrics: noise metrics of result files, as tables, GeoTIFFs and contours.
#include <iostream>
#include <string>
#include <vector>

#include "io/staged_file.h"
#include "metrics/run.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    tn::install_interrupt_handlers("tracknoise-metrics");
    std::vector<std::string> args(argv, argv + argc);
    return tn::run_metrics(args, std::cout, std::cerr);
}
