// The label a history file gets in the history menu.
#pragma once

#include <cstddef>

inline constexpr std::size_t k_history_label_len = 32;   // the label and argument blocks of a history row

// The time a history file name "%y%m%d%H%M%S.hst" stands for, as asctime writes
// it without the newline. The time record starts cleared, so a name that is
// not in that form still gets a defined label (what the parse left in it).
void history_label(const char *name, char (&out)[k_history_label_len]);
