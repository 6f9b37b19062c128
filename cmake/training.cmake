# A trained program is built twice: once with counters that note what it does while it converts runs, then for what
# they say is done often. `build_trained` in scripts/lib/setup.sh does it all.
set(KZR_TRAINING "" CACHE STRING "\"record\" builds with counters, \"use\" for what they counted (GCC only)")
set_property(CACHE KZR_TRAINING PROPERTY STRINGS "" record use)
set(kzr_profile ${CMAKE_BINARY_DIR}/profile)
if(KZR_TRAINING STREQUAL "record")
  # Some counters are in code that two threads run.
  set(kzr_training_options -fprofile-generate=${kzr_profile} -fprofile-update=prefer-atomic)
elseif(KZR_TRAINING STREQUAL "use")
  # What no training run reached, or was changed since, is optimised as without training, not for size.
  set(kzr_training_options -fprofile-use=${kzr_profile} -fprofile-partial-training -Wno-missing-profile
                           -Wno-error=coverage-mismatch)
elseif(KZR_TRAINING)
  message(FATAL_ERROR "KZR_TRAINING is neither record nor use")
endif()
target_compile_options(kzr_core_without_assert PUBLIC ${kzr_training_options})
target_link_options(kzr_core_without_assert PUBLIC ${kzr_training_options})
