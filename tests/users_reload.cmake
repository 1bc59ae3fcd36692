# get_users against concurrent reloads also runs under ThreadSanitizer.
if(TEST users_reload_e2e_test)
  set_tests_properties(users_reload_e2e_test PROPERTIES LABELS "e2e;concurrency")
endif()
