# The README's two commands. Everything else goes through the CMake presets.
PRESET ?= release
JOBS ?= 2

.PHONY: test demo build check-deep clean

build:
	cmake --preset $(PRESET) >/dev/null
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(JOBS)

# Exports the demo character through the plug-in running in mayasim, then
# summarises what was written. Builds only what the demo needs.
demo:
	cmake --preset $(PRESET) >/dev/null
	cmake --build --preset $(PRESET) -j $(JOBS) --target twi twi-export
	./build/$(PRESET)/tools/twi-export demo:character -o demo.twi
	./build/$(PRESET)/tools/twi info demo.twi

check-deep:
	./.ci/check-deep

clean:
	rm -rf build
