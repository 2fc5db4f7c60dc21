# SPDX-License-Identifier: MIT
# lx_registry_rows(SCRIPT variable): converts the registration script into rows of a C++ table. The script is a tree of
# keys:
#
#     HKCR
#     {
#         Name = s 'default value'
#         {
#             val ValueName = s 'text'     a value; values precede the keys of the block
#             NoRemove Name                a key that unregistration keeps
#             ForceRemove Name             a key that is replaced and removed with all its subkeys
#         }
#     }
function(lx_registry_rows script variable)
  set(removal_ WhenEmpty)
  set(removal_NoRemove Never)
  set(removal_ForceRemove Whole)
  set(removal_val Never)
  set(rows "")
  # key: path of the last key; parent: path of the enclosing key, with a slash after each part
  file(STRINGS ${script} lines)
  foreach(line IN LISTS lines)
    string(STRIP "${line}" line)
    if(line STREQUAL "HKCR")
      set(key "")
    elseif(line STREQUAL "{")
      string(REGEX REPLACE "[^/]$" "\\0/" parent "${key}")
    elseif(line STREQUAL "}")
      string(REGEX REPLACE "[^/]*/$" "" parent "${parent}")
    elseif(line MATCHES "^((val|NoRemove|ForceRemove) )?([^ ]+)( = s '([^']*)')?$")
      set(removal ${removal_${CMAKE_MATCH_2}})
      set(name "")
      set(text nullptr)
      if(CMAKE_MATCH_4)
        set(text "OLESTR(\"${CMAKE_MATCH_5}\")")
      endif()
      if(CMAKE_MATCH_2 STREQUAL "val") # a value of the key that the block belongs to
        set(name "${CMAKE_MATCH_3}")
        string(REGEX REPLACE "/$" "" key "${parent}")
      else()
        set(key "${parent}${CMAKE_MATCH_3}")
      endif()
      string(REPLACE "/" "\\\\" path "${key}")
      string(APPEND rows "{OLESTR(\"${path}\"), OLESTR(\"${name}\"), ${text}, ERemoval::${removal}},\n")
    else()
      message(FATAL_ERROR "${script} cannot be read: ${line}")
    endif()
  endforeach()
  set(${variable} "${rows}" PARENT_SCOPE)
endfunction()
