# The cache stress test also runs under ThreadSanitizer (ctest -L concurrency).
set_tests_properties(dbcache_stress_test PROPERTIES LABELS concurrency)
