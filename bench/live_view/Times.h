#pragma once

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

// Some values of one kind, in milliseconds.
class Times {
  public:
    void Add(double milliseconds) { values_.push_back(milliseconds); }
    double Max() const { return values_.empty() ? 0 : *std::ranges::max_element(values_); }
    double Median() const {
        if (values_.empty()) return 0;
        std::vector<double> sorted = values_;
        std::ranges::sort(sorted);
        return sorted[sorted.size() / 2];
    }
    void Print(const std::string& what) const {
        if (values_.empty()) return;
        std::cout << std::left << std::setw(44) << what << std::right << std::fixed << std::setprecision(1)
                  << std::setw(5) << values_.size() << " times: min " << *std::ranges::min_element(values_)
                  << ", median " << Median() << ", max " << Max() << " ms" << std::endl;
    }

  private:
    std::vector<double> values_;
};
