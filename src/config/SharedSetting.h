#pragma once

#include <string>

/**
 * Settings that captures read while a load replaces them.
 *
 * A text is copied and replaced under one lock, which is held for no longer than that; a number is read and
 * written in one piece, without a lock. Only one thread replaces settings at a time, so that thread may read
 * them without this. Any thread.
 */

std::string CopySharedText(const std::string& setting);

/** Readers get the former text or this one, each whole. */
void PublishSharedText(std::string& setting, std::string text);

int GetSharedNumber(const int& setting);
void SetSharedNumber(int& setting, int number);
