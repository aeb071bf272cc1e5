// What the examples share: text for people, whatever the locale of the process, and files.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "MDicom.h"

/** UTF-8 of wide text; empty for null. */
std::string Utf8(const wchar_t *text);

/** Wide text of an argument of the command line. */
std::wstring Wide(const std::string &text);

/** A tag as "(gggg,eeee)". */
std::string TagText(uint32_t tag);

/** Takes "gggg,eeee" for a tag; false if the text is none. */
bool ParseTag(const std::string &text, uint32_t *tag);

/** A status of LoadDS or SaveDS in words. */
const char *StatusText(uint16_t status);

/** Tells people why something failed; the status of a program that ends so. */
int Fail(const char *what, const char *why);

/** The value of an element in one short line. */
std::string ValueText(MDicomDS &ds, _DICOMELEMENT *element);

/** All files of a folder in order of their names, or the file itself. Throws
 *  std::filesystem::filesystem_error. */
std::vector<std::filesystem::path> FilesUnder(const std::filesystem::path &path);
