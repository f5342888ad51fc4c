// The helpers moved to testing/; this path stays only until its last includes are gone.
#ifndef ZYRA_TESTS_TEST_SUPPORT_H_
#define ZYRA_TESTS_TEST_SUPPORT_H_

#include "testing/test_support.h"

#endif  // ZYRA_TESTS_TEST_SUPPORT_H_
