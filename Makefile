# An EPICS application: "make" builds it with the EPICS_BASE of the environment
# or of configure/RELEASE.local. "make help" lists the goals that also see to
# packages and EPICS base by themselves.

TOP = .

OUR_GOALS = setup demo test check bench deb help

ifneq ($(filter $(OUR_GOALS),$(MAKECMDGOALS)),)

# ---- Goals that prepare first. EPICS' own rules are not read here, because the
# base they come from may not be there yet.

.NOTPARALLEL:
.PHONY: $(MAKECMDGOALS)

setup:
	@tools/setup build

demo:
	@tools/setup build
	+@tools/build
	@tools/demo

test:
	@tools/setup build test
	+@tools/build BUILD_TESTS=YES
	@tools/run-tests

check:
	@tools/setup build test check deb
	+@tools/build BUILD_TESTS=YES
	@tools/check

bench:
	@tools/setup build bench
	+@tools/build
	@tools/run-benchmarks

deb:
	@tools/setup build deb
	+@tools/build
	@packaging/build-deb

help:
	@echo "make demo     set up, build, and show the server with a simulated crate"
	@echo "make test     set up, build, and run all tests"
	@echo "make check    make test, then layers, layout, linters, packages and sanitizers"
	@echo "make bench    set up, build, and run the benchmarks"
	@echo "make deb      set up, build, and make Debian packages in build/deb"
	@echo "make setup    install missing Debian packages and EPICS base"
	@echo "make          build, with the EPICS_BASE of the environment or of"
	@echo "              configure/RELEASE.local; also clean, distclean, rebuild, ..."
	@echo "V=1 shows the compiler's command lines."

# Goals of EPICS named beside ours
OTHER_GOALS = $(filter-out $(OUR_GOALS),$(MAKECMDGOALS))
$(OTHER_GOALS):
	+@$(MAKE) --no-print-directory $@

else

# ---- The EPICS application

ifeq ($(origin EPICS_BASE),command line)
  $(error Give EPICS_BASE in the environment: EPICS_BASE=$(EPICS_BASE) make)
endif

# EPICS reads the location of base from files only.
ifneq ($(or $(EPICS_BASE),$(wildcard configure/RELEASE.local)),)
  ifeq ($(shell tools/epics-base --no-build),)
    $(error No EPICS base)
  endif
else
  $(error No EPICS base. "make setup" gets and builds one; or name yours: EPICS_BASE=/path/to/base make)
endif
include $(TOP)/configure/CONFIG

# mbboDirect of these rebuilds its value from its bits at each processing.
BASE_VERSION = $(EPICS_VERSION).$(EPICS_REVISION).$(EPICS_MODIFICATION)
ifneq ($(filter 7.0.1 7.0.2 7.0.3 7.0.4 7.0.5,$(BASE_VERSION)),)
  $(warning EPICS base $(BASE_VERSION) loses integers written to mbboDirect records; use 7.0.6 or later)
endif

# Removing goes through the tests whether or not they are built.
REMOVING = $(filter clean% realclean% distclean% archclean% cvsclean% depclean%,$(MAKECMDGOALS))

PARTS = crateSim pvlist site VEXAZANTOApp bench iocBoot
PARTS += $(if $(filter YES,$(BUILD_TESTS))$(REMOVING),tests)

DIRS = configure $(foreach part,$(PARTS),$(patsubst %/Makefile,%,$(wildcard $(part)/Makefile)))

# The server links the access library that is built beside the simulated crate.
$(foreach dir,$(filter-out configure,$(DIRS)),$(eval $(dir)_DEPEND_DIRS += configure))
VEXAZANTOApp_DEPEND_DIRS += $(filter crateSim,$(DIRS))
pvlist_DEPEND_DIRS += $(filter crateSim,$(DIRS))
site_DEPEND_DIRS += $(filter crateSim pvlist,$(DIRS))
$(foreach dir,$(filter tests bench iocBoot,$(DIRS)), \
    $(eval $(dir)_DEPEND_DIRS += $(filter crateSim pvlist site VEXAZANTOApp,$(DIRS))))

include $(TOP)/configure/RULES_TOP

endif
