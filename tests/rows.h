// Runs rows as tests.

#ifndef PKIDER_TESTS_ROWS_H
#define PKIDER_TESTS_ROWS_H

#include <gtest/gtest.h>

#include "row_file.h"

using operations_t = std::map<std::string, std::string (*)(const row_t&)>;

// Runs the operation of each row of a file. What fails is reported with the row's file and line.
void run_rows(const rows_t& file, const operations_t& operations);

std::string hex_number(unsigned long long number);

// What the records hold before each read.
inline const std::string untouched("\xEE", 1);
inline const blob_t old = view(untouched);

// What a view may show: what was there before, the input, and what a test adds.
extern std::vector<blob_t> shown;
std::string show(const blob_t& blob);

// What reads a sample, and tells its outcome.
using readers_t = std::map<std::string, std::string (*)(const exact_t&)>;

std::string read(const readers_t& readers, const std::string& sample, const exact_t& in);

// What reading gives with every other identifier octet of one element in turn: one outcome, in
// which "__" stands for the octet itself, or the first and the last of several. The element is the
// Nth "XX(" of a text for from_hex.
std::string with_other_tags(const rows_t& file, const row_t& row, const readers_t& readers);

#endif
