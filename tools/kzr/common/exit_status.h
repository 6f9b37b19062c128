#pragma once

/// Exit status of the program: nothing to complain of, damage or warnings, wrong usage.
constexpr int exit_sound = 0;
constexpr int exit_damage = 1;
constexpr int exit_usage = 2;
