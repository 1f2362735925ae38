// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Markup.h"
#include "report/Report.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// The report as one page of HTML, without scripts and without anything from elsewhere. Blocks of more than 60 strips
/// have only the table of their strips, so that the page stays below 5 MB.
std::string pageOf(Report const& report);

/// Rows of texts under a header row; the first of each row names it.
struct Table {
  std::string caption;
  std::vector<std::string> head;
  std::vector<std::vector<std::string>> rows;
};

void writeTable(Markup& page, Table const& table);

/// The part of the page that is about one strip. Of more residuals than `mostVectors`, the largest are drawn.
void writeStrip(Markup& page, StripReport const& strip, std::size_t mostVectors);

/// With fixed decimals; a dash for what isn't known.
std::string known(double value, int decimals);

}  // namespace tool
