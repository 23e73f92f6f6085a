# The README's two commands. Everything else goes through the CMake presets.
PRESET ?= release
JOBS ?= 2

.PHONY: test demo build check-deep clean

build:
	cmake --preset $(PRESET) >/dev/null
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

demo: build
	@echo "twi exporter: nothing to export yet (the plug-in arrives with the exporter)"

check-deep:
	./.ci/check-deep

clean:
	rm -rf build
