#pragma once

#include "db/Database.h"

#include <QString>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace bom::bench {

// The generated account a benchmark runs on: reused when the file exists (made once with
// 100,000 BOMs of 10 lines over 3 levels), so repeated runs measure, not generate.
std::unique_ptr<db::Database> openGeneratedAccount(const QString& url, int boms);

// Runs `work` `runs` times and answers the durations in milliseconds, sorted.
std::vector<double> measure(int runs, const std::function<void()>& work);
double percentile(const std::vector<double>& sorted, double p);

} // namespace bom::bench
