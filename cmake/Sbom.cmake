# Run by `cmake --install`, after everything else: writes a bill of materials (SPDX 2.3) for the installed
# files, including the parts that others have written.
#   version, supplier, parts, output   see Notices.cmake
#   CMAKE_INSTALL_MANIFEST_FILES       every file, from CMake
# The time in it is the current time, or SOURCE_DATE_EPOCH.
set(root "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}")
set(files "")
set(contained "")
set(sums "")
list(SORT CMAKE_INSTALL_MANIFEST_FILES)
foreach(file IN LISTS CMAKE_INSTALL_MANIFEST_FILES)
  # A link is another name for a file that is already listed.
  if(IS_SYMLINK "$ENV{DESTDIR}${file}")
    continue()
  endif()
  file(RELATIVE_PATH name "${CMAKE_INSTALL_PREFIX}" "${file}")
  file(SHA1 "$ENV{DESTDIR}${file}" sha1)
  file(SHA256 "$ENV{DESTDIR}${file}" sha256)
  list(APPEND sums ${sha1})
  string(SHA1 id "${name}")
  string(APPEND files "${comma}    {
      \"SPDXID\": \"SPDXRef-File-${id}\",
      \"fileName\": \"./${name}\",
      \"checksums\": [
        {\"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\"},
        {\"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\"}
      ],
      \"licenseConcluded\": \"NOASSERTION\",
      \"copyrightText\": \"NOASSERTION\"
    }")
  string(APPEND contained ",
    {\"spdxElementId\": \"SPDXRef-Package-ke-utils\", \"relationshipType\": \"CONTAINS\",
     \"relatedSpdxElement\": \"SPDXRef-File-${id}\"}")
  set(comma ",\n")
endforeach()
list(SORT sums)
list(JOIN sums "" joined)
string(SHA1 verification "${joined}")

set(packages "")
foreach(part IN LISTS parts)
  string(REPLACE "|" ";" fields "${part}")
  list(GET fields 0 1 2 3 fields_known)
  list(GET fields_known 0 name)
  list(GET fields_known 1 part_version)
  list(GET fields_known 2 license)
  list(GET fields_known 3 relation)
  set(comment "")
  list(LENGTH fields count)
  if(count GREATER 4)
    list(GET fields 4 packaged)
    if(packaged)
      set(comment "\n      \"comment\": \"Debian source package ${packaged}\",")
    endif()
  endif()
  string(APPEND packages ",
    {
      \"SPDXID\": \"SPDXRef-Package-${name}\",
      \"name\": \"${name}\",
      \"versionInfo\": \"${part_version}\",${comment}
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": false,
      \"licenseConcluded\": \"${license}\",
      \"licenseDeclared\": \"${license}\",
      \"copyrightText\": \"NOASSERTION\"
    }")
  string(APPEND contained ",
    {\"spdxElementId\": \"SPDXRef-Package-ke-utils\", \"relationshipType\": \"${relation}\",
     \"relatedSpdxElement\": \"SPDXRef-Package-${name}\"}")
endforeach()

string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
string(REGEX REPLACE " *<(.*)>" " (\\1)" supplier "${supplier}")
message(STATUS "Installing: ${root}/${output}")
file(WRITE "${root}/${output}" "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"ke_utils-${version}\",
  \"documentNamespace\": \"https://spdx.org/spdxdocs/ke_utils-${version}-${verification}\",
  \"creationInfo\": {
    \"created\": \"${created}\",
    \"creators\": [\"Organization: ${supplier}\", \"Tool: cmake-${CMAKE_VERSION}\"]
  },
  \"packages\": [
    {
      \"SPDXID\": \"SPDXRef-Package-ke-utils\",
      \"name\": \"ke_utils\",
      \"versionInfo\": \"${version}\",
      \"supplier\": \"Organization: ${supplier}\",
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": true,
      \"packageVerificationCode\": {\"packageVerificationCodeValue\": \"${verification}\"},
      \"licenseConcluded\": \"MIT\",
      \"licenseDeclared\": \"MIT\",
      \"licenseInfoFromFiles\": [\"NOASSERTION\"],
      \"copyrightText\": \"Copyright (c) the ke_utils authors\"
    }${packages}
  ],
  \"files\": [
${files}
  ],
  \"relationships\": [
    {\"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\",
     \"relatedSpdxElement\": \"SPDXRef-Package-ke-utils\"}${contained}
  ]
}
")
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${CMAKE_INSTALL_PREFIX}/${output}")
