// SPDX-License-Identifier: Apache-2.0
// For browsers without modules, in the JavaScript that they know.
document.getElementById('app').hidden = true;
document.getElementById('unsupported').hidden = false;
document.getElementById('lacks').innerHTML = '<li>JavaScript modules</li>';
