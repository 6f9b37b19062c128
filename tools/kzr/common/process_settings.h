#pragma once

/// Changes what the process inherited to what suits a program that reads many files and writes to pipes.
void change_process_settings();

/// Gives back what was inherited, for a program that takes this one's place.
void restore_process_settings();
