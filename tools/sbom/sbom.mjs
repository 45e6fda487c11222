// node tools/sbom/sbom.mjs VERSION FILE...: the list of what a release contains, in CycloneDX, on
// standard output. What is linked in is taken from the pinned packages of the portable builds.
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import * as CDX from '@cyclonedx/cyclonedx-library';

const { Component, Bom, LicenseRepository, SpdxLicense, Property } = CDX.Models;
const { Library, File } = CDX.Enums.ComponentType;

// package of the sysroot -> name, license, how it gets in
const parts = {
  'libmbedtls-dev': ['mbedtls', 'Apache-2.0', 'linked statically into the mock'],
  'libcli11-dev': ['cli11', 'BSD-3-Clause', 'headers compiled into zefhost'],
  'nlohmann-json3-dev': ['nlohmann-json', 'MIT', 'headers compiled into zefhost'],
  libqt5core5a: ['qtbase (QtCore)', 'LGPL-3.0-only', 'linked dynamically, not contained'],
  libqt5network5: ['qtbase (QtNetwork)', 'LGPL-3.0-only', 'linked dynamically, not contained'],
  libedit2: ['libedit', 'BSD-3-Clause', 'linked dynamically into zefhost, not contained'],
  libc6: ['glibc', 'LGPL-2.1-or-later', 'linked dynamically, not contained'],
  'libstdc++6': ['libstdc++', 'GPL-3.0-with-GCC-exception', 'linked dynamically, not contained'],
};

const pins = fs.readFileSync(new URL('../sysroot/amd64.sha256', import.meta.url), 'utf8');
const pinned = [...pins.matchAll(/^(\w+) {2}.*\/([^_]+)_([^_]+)_\w+\.deb$/gm)];

function linkedComponents() {
  return Object.entries(parts).map(([debian, [name, license, how]]) => {
    const [, , , version] = pinned.find((pin) => pin[2] === debian);
    const component = new Component(Library, name, {
      bomRef: debian,
      version,
      purl: `pkg:deb/debian/${encodeURIComponent(debian)}@${encodeURIComponent(version)}`,
      licenses: new LicenseRepository([new SpdxLicense(license)]),
    });
    component.properties.add(new Property('zelectronframework:use', how));
    return component;
  });
}

function fileComponent(file) {
  const component = new Component(File, path.basename(file), { bomRef: path.basename(file) });
  component.hashes.set('SHA-256', createHash('sha256').update(fs.readFileSync(file)).digest('hex'));
  return component;
}

const [version, ...files] = process.argv.slice(2);
const bom = new Bom();
bom.metadata.component = new Component(Library, 'zelectronframework', {
  bomRef: 'zelectronframework',
  version,
});
bom.metadata.timestamp = new Date(Number(process.env.SOURCE_DATE_EPOCH) * 1000);
const linked = linkedComponents();
for (const component of [...files.map(fileComponent), ...linked]) bom.components.add(component);
for (const { bomRef } of linked) bom.metadata.component.dependencies.add(bomRef);

const factory = new CDX.Serialize.JSON.Normalize.Factory(CDX.Spec.Spec1dot6);
const options = { sortLists: true, space: 2 };
const text = new CDX.Serialize.JsonSerializer(factory).serialize(bom, options);
const faults = await new CDX.Validation.JsonStrictValidator(CDX.Spec.Version.v1dot6).validate(text);
if (faults) throw new Error(`the list is no valid CycloneDX: ${JSON.stringify(faults)}`);
console.log(text);
