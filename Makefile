# The two commands of a new user; see README.md.
MAKEFLAGS += --no-print-directory
.PHONY: demo test build lint format

demo: build
	@build/tools/zyra-rsp demo --out build/demo

test:
	@scripts/test.sh

build:
	@scripts/build.sh build

# clang-tidy over the library and the tool, with the checks of .clang-tidy.
lint: build
	@cmake -S . -B build -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
	@git ls-files 'zyra/*.cc' 'tools/*.cc' | grep -v _test.cc | xargs -P "$$(nproc)" -n 4 clang-tidy -p build --quiet

format:
	@git ls-files '*.h' '*.cc' | xargs clang-format -i
