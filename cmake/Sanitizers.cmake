# SPDX-License-Identifier: Apache-2.0
if(PA_SANITIZE)
  add_compile_options(-fsanitize=${PA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${PA_SANITIZE})
endif()
