import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.security.SecureRandom;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.StringJoiner;
import org.bouncycastle.asn1.cryptopro.CryptoProObjectIdentifiers;
import org.bouncycastle.asn1.cryptopro.ECGOST3410NamedCurves;
import org.bouncycastle.asn1.ua.DSTU4145NamedCurves;
import org.bouncycastle.asn1.ua.DSTU4145PointEncoder;
import org.bouncycastle.asn1.x9.X9ECParameters;
import org.bouncycastle.crypto.AsymmetricCipherKeyPair;
import org.bouncycastle.crypto.BlockCipher;
import org.bouncycastle.crypto.CipherParameters;
import org.bouncycastle.crypto.Digest;
import org.bouncycastle.crypto.StreamCipher;
import org.bouncycastle.crypto.agreement.ECDHBasicAgreement;
import org.bouncycastle.crypto.agreement.ECVKOAgreement;
import org.bouncycastle.crypto.digests.GOST3411Digest;
import org.bouncycastle.crypto.digests.GOST3411_2012_256Digest;
import org.bouncycastle.crypto.digests.GOST3411_2012_512Digest;
import org.bouncycastle.crypto.engines.GOST28147Engine;
import org.bouncycastle.crypto.engines.GOST3412_2015Engine;
import org.bouncycastle.crypto.engines.RSAEngine;
import org.bouncycastle.crypto.generators.DSTU4145KeyPairGenerator;
import org.bouncycastle.crypto.generators.ECKeyPairGenerator;
import org.bouncycastle.crypto.generators.RSAKeyPairGenerator;
import org.bouncycastle.crypto.macs.GOST28147Mac;
import org.bouncycastle.crypto.modes.CFBBlockCipher;
import org.bouncycastle.crypto.modes.GOFBBlockCipher;
import org.bouncycastle.crypto.modes.SICBlockCipher;
import org.bouncycastle.crypto.params.ECDomainParameters;
import org.bouncycastle.crypto.params.ECKeyGenerationParameters;
import org.bouncycastle.crypto.params.ECPrivateKeyParameters;
import org.bouncycastle.crypto.params.ECPublicKeyParameters;
import org.bouncycastle.crypto.params.KeyParameter;
import org.bouncycastle.crypto.params.ParametersWithIV;
import org.bouncycastle.crypto.params.ParametersWithRandom;
import org.bouncycastle.crypto.params.ParametersWithSBox;
import org.bouncycastle.crypto.params.ParametersWithUKM;
import org.bouncycastle.crypto.params.RSAKeyGenerationParameters;
import org.bouncycastle.crypto.params.RSAKeyParameters;
import org.bouncycastle.crypto.params.RSAPrivateCrtKeyParameters;
import org.bouncycastle.crypto.signers.DSTU4145Signer;
import org.bouncycastle.crypto.signers.ECGOST3410Signer;
import org.bouncycastle.math.ec.ECPoint;

/**
 * Bouncy Castle as a contender: what support/workload.hpp is in C++, with the same names, inputs and
 * answers. Time is that of the thread that does the work; compiling and collecting garbage, which
 * other threads of the virtual machine do, are left out.
 */
public final class Peer {
    private interface Work {
        /** Does the work once; the result may be the same array each time. */
        byte[] run();
    }

    private static final class Benchmark {
        final Work work;
        final String result;
        boolean warm;

        Benchmark(Work work, String result) {
            this.work = work;
            this.result = result;
        }
    }

    private static final ThreadMXBean threads = ManagementFactory.getThreadMXBean();
    private static final Map<String, Benchmark> benchmarks = new LinkedHashMap<>();
    private static final int[] sizes = {64, 1 << 10, 64 << 10, 1 << 20};
    private static byte[] last;

    private static long fnv(byte[] bytes) {
        long hash = 0xcbf29ce484222325L;
        for (byte b : bytes) {
            hash = (hash ^ (b & 0xff)) * 0x100000001b3L;
        }
        return hash;
    }

    private static byte[] material(String name, int size) {
        long state = fnv(name.getBytes(StandardCharsets.US_ASCII));
        byte[] bytes = new byte[size];
        for (int i = 0; i < size; i += 8) {
            state += 0x9e3779b97f4a7c15L;
            long z = state;
            z = (z ^ z >>> 30) * 0xbf58476d1ce4e5b9L;
            z = (z ^ z >>> 27) * 0x94d049bb133111ebL;
            z ^= z >>> 31;
            for (int j = i; j < size && j < i + 8; j++) {
                bytes[j] = (byte) (z >>> 8 * (j - i));
            }
        }
        return bytes;
    }

    private static byte[] reversed(byte[] bytes) {
        byte[] out = new byte[bytes.length];
        for (int i = 0; i < bytes.length; i++) {
            out[i] = bytes[bytes.length - 1 - i];
        }
        return out;
    }

    private static byte[] joined(byte[] a, byte[] b) {
        byte[] out = Arrays.copyOf(a, a.length + b.length);
        System.arraycopy(b, 0, out, a.length, b.length);
        return out;
    }

    /** Most significant byte first. */
    private static byte[] bytes(BigInteger x, int size) {
        byte[] out = new byte[size];
        byte[] in = x.toByteArray();
        int length = Math.min(size, in.length);
        System.arraycopy(in, in.length - length, out, size - length, length);
        return out;
    }

    private static void require(boolean holds, String what) {
        if (!holds) {
            throw new IllegalStateException(what);
        }
    }

    private static String sizeName(int bytes) {
        return bytes >= 1 << 20 ? (bytes >> 20) + "MiB" : bytes >= 1 << 10 ? (bytes >> 10) + "KiB" : bytes + "B";
    }

    /** The result is compared with those of other libraries. */
    private static void add(String name, Work work) {
        benchmarks.put(name + "/bouncycastle", new Benchmark(work, String.format("\"%016x\"", fnv(work.run()))));
    }

    private static void addApart(String name, Work work) {
        work.run();
        benchmarks.put(name + "/bouncycastle", new Benchmark(work, "null"));
    }

    /** A source of randomness that gives the same number again and again. */
    private static final class Fixed extends SecureRandom {
        private static final long serialVersionUID = 1;
        private final BigInteger number;

        Fixed(BigInteger number) {
            this.number = number;
        }

        @Override
        public void nextBytes(byte[] out) {
            System.arraycopy(Peer.bytes(number, out.length), 0, out, 0, out.length);
        }
    }

    private static void addHash(String name, Digest digest) {
        byte[] out = new byte[digest.getDigestSize()];
        for (int size : sizes) {
            byte[] message = material("message", size);
            add(name + "/" + sizeName(size), () -> {
                digest.update(message, 0, message.length);
                digest.doFinal(out, 0);
                return out;
            });
        }
    }

    private static void addStream(String name, StreamCipher cipher, CipherParameters parameters, boolean encrypt) {
        for (int size : sizes) {
            byte[] message = material("message", size);
            byte[] out = new byte[size];
            cipher.init(encrypt, parameters);
            add(name + "/" + sizeName(size), () -> {
                cipher.reset();
                cipher.processBytes(message, 0, message.length, out, 0);
                return out;
            });
        }
    }

    private static void gost28147() {
        byte[] iv = material("iv", 8);
        CipherParameters key =
            new ParametersWithSBox(new KeyParameter(material("key", 32)), GOST28147Engine.getSBox("E-A"));
        BlockCipher ecb = new GOST28147Engine();
        ecb.init(true, key);
        GOST28147Mac mac = new GOST28147Mac();
        mac.init(key);
        byte[] tag = new byte[4];
        for (int size : sizes) {
            byte[] message = material("message", size);
            byte[] out = new byte[size];
            add("gost28147-ecb/" + sizeName(size), () -> {
                for (int i = 0; i < message.length; i += 8) {
                    ecb.processBlock(message, i, out, i);
                }
                return out;
            });
            add("gost28147-mac/" + sizeName(size), () -> {
                mac.update(message, 0, message.length);
                mac.doFinal(tag, 0);
                return tag;
            });
        }
        CipherParameters keyAndIv = new ParametersWithIV(key, iv);
        addStream("gost28147-gamma", new GOFBBlockCipher(new GOST28147Engine()), keyAndIv, true);
        addStream("gost28147-cfb-encrypt", new CFBBlockCipher(new GOST28147Engine(), 64), keyAndIv, true);
        addStream("gost28147-cfb-decrypt", new CFBBlockCipher(new GOST28147Engine(), 64), keyAndIv, false);
        addHash("gost94", new GOST3411Digest());
        BlockCipher fresh = new GOST28147Engine();
        addApart("gost28147-keys/32B", () -> {
            fresh.init(true, key);
            return tag;
        });
    }

    private static void kuznyechik() {
        KeyParameter key = new KeyParameter(material("key", 32));
        addStream("kuznyechik-ctr", new SICBlockCipher(new GOST3412_2015Engine()),
            new ParametersWithIV(key, material("iv", 8)), true);
        BlockCipher cipher = new GOST3412_2015Engine();
        byte[] block = new byte[16];
        addApart("kuznyechik-keys/32B", () -> {
            cipher.init(true, key);
            return block;
        });
        addApart("kuznyechik-block/16B", () -> {
            cipher.processBlock(block, 0, block, 0);
            return block;
        });
    }

    private static void streebog() {
        addHash("streebog-512", new GOST3411_2012_512Digest());
        addHash("streebog-256", new GOST3411_2012_256Digest());
    }

    private static void gost3410() {
        X9ECParameters curve = ECGOST3410NamedCurves.getByOIDX9(CryptoProObjectIdentifiers.gostR3410_2001_CryptoPro_A);
        ECDomainParameters domain = new ECDomainParameters(curve);
        BigInteger d = secret("d");
        BigInteger k = secret("k");
        ECPrivateKeyParameters key = new ECPrivateKeyParameters(d, domain);
        ECPublicKeyParameters pub = new ECPublicKeyParameters(domain.getG().multiply(d), domain);
        ECPublicKeyParameters peer =
            new ECPublicKeyParameters(domain.getG().multiply(secret("peer d")).normalize(), domain);
        byte[] digest = reversed(material("digest", 32));

        add("gost3410-keygen/256bit", () -> {
            ECKeyPairGenerator generator = new ECKeyPairGenerator();
            generator.init(new ECKeyGenerationParameters(domain, new Fixed(d)));
            ECPoint q = ((ECPublicKeyParameters) generator.generateKeyPair().getPublic()).getQ().normalize();
            return joined(q.getAffineXCoord().getEncoded(), q.getAffineYCoord().getEncoded());
        });
        ECGOST3410Signer signer = new ECGOST3410Signer();
        signer.init(true, new ParametersWithRandom(key, new Fixed(k)));
        add("gost3410-sign/256bit", () -> {
            BigInteger[] signature = signer.generateSignature(digest);
            return joined(bytes(signature[1], 32), bytes(signature[0], 32));
        });
        BigInteger[] signature = signer.generateSignature(digest);
        ECGOST3410Signer verifier = new ECGOST3410Signer();
        verifier.init(false, pub);
        byte[] valid = new byte[1];
        add("gost3410-verify/256bit", () -> {
            valid[0] = (byte) (verifier.verifySignature(digest, signature[0], signature[1]) ? 1 : 0);
            return valid;
        });
        ECVKOAgreement agreement = new ECVKOAgreement(new GOST3411Digest());
        agreement.init(new ParametersWithUKM(key, reversed(material("ukm", 8))));
        // It hashes the point in another byte order.
        addApart("gost3410-vko/256bit", () -> agreement.calculateAgreement(peer));
    }

    private static BigInteger secret(String name) {
        byte[] bytes = material(name, 32);
        bytes[0] &= 0x7f;
        return new BigInteger(1, bytes);
    }

    private static void dstu() {
        addDstu(0, 163);
        addDstu(4, 191);
        addDstu(6, 257);
        addDstu(9, 431);
    }

    private static void addDstu(int index, int degree) {
        ECDomainParameters domain = DSTU4145NamedCurves.getByOID(DSTU4145NamedCurves.getOIDs()[index]);
        require(domain.getCurve().getFieldSize() == degree, "another curve");
        String size = "/" + degree + "bits";
        int field = (degree + 8) / 8;
        int bits = domain.getN().bitLength() - 1;
        int half = (bits + 7) / 8;
        BigInteger d = scalar("d", bits);

        add("dstu-keygen" + size, () -> {
            AsymmetricCipherKeyPair pair = dstuKeys(domain, d);
            return compressed(pair, field);
        });
        AsymmetricCipherKeyPair own = dstuKeys(domain, d);
        AsymmetricCipherKeyPair peer = dstuKeys(domain, scalar("p", bits));
        byte[] hash = material("hash", 32);
        DSTU4145Signer signer = new DSTU4145Signer();
        signer.init(true, new ParametersWithRandom(own.getPrivate(), new Fixed(scalar("k", bits))));
        add("dstu-sign" + size, () -> {
            BigInteger[] signature = signer.generateSignature(hash);
            return joined(reversed(bytes(signature[0], half)), reversed(bytes(signature[1], half)));
        });
        BigInteger[] signature = signer.generateSignature(hash);
        DSTU4145Signer verifier = new DSTU4145Signer();
        verifier.init(false, own.getPublic());
        byte[] valid = new byte[1];
        add("dstu-verify" + size, () -> {
            valid[0] = (byte) (verifier.verifySignature(hash, signature[0], signature[1]) ? 1 : 0);
            return valid;
        });
        ECDHBasicAgreement agreement = new ECDHBasicAgreement();
        agreement.init(own.getPrivate());
        add("dstu-agree" + size, () -> reversed(bytes(agreement.calculateAgreement(peer.getPublic()), field)));
    }

    /** The low bits of a number that is given with its least significant byte first. */
    private static BigInteger scalar(String name, int bits) {
        BigInteger number = new BigInteger(1, reversed(material(name, 64)));
        return number.mod(BigInteger.ONE.shiftLeft(bits));
    }

    private static AsymmetricCipherKeyPair dstuKeys(ECDomainParameters domain, BigInteger d) {
        DSTU4145KeyPairGenerator generator = new DSTU4145KeyPairGenerator();
        generator.init(new ECKeyGenerationParameters(domain, new Fixed(d)));
        return generator.generateKeyPair();
    }

    private static byte[] compressed(AsymmetricCipherKeyPair pair, int size) {
        byte[] point = DSTU4145PointEncoder.encodePoint(((ECPublicKeyParameters) pair.getPublic()).getQ());
        return Arrays.copyOf(reversed(point), size);
    }

    private static void rsa() {
        for (int bits : new int[] {512, 1024, 1536, 2048}) {
            addRsa(bits);
        }
        for (int bits : new int[] {512, 1024, 1536, 2048}) {
            int certainty = bits <= 1024 ? 80 : 96 + 16 * ((bits - 1) / 1024);
            byte[] none = new byte[0];
            RSAKeyPairGenerator generator = new RSAKeyPairGenerator();
            generator.init(
                new RSAKeyGenerationParameters(BigInteger.valueOf(65537), new SecureRandom(), bits, certainty));
            addApart("rsa-keygen/" + bits + "bits", () -> {
                generator.generateKeyPair();
                return none;
            });
        }
    }

    private static void addRsa(int bits) {
        BigInteger e = BigInteger.valueOf(65537);
        BigInteger[] primes = new BigInteger[2];
        int found = 0;
        for (int i = 0; found < 2; i++) {
            byte[] start = material("prime " + i, bits / 16);
            start[0] |= (byte) 0xc0;
            BigInteger x = new BigInteger(1, start).setBit(0);
            BigInteger prime = x.isProbablePrime(100) ? x : x.nextProbablePrime();
            if (prime.bitLength() == bits / 2 && prime.subtract(BigInteger.ONE).mod(e).signum() != 0) {
                primes[found++] = prime;
            }
        }
        BigInteger p = primes[0].max(primes[1]);
        BigInteger q = primes[0].min(primes[1]);
        BigInteger p1 = p.subtract(BigInteger.ONE);
        BigInteger q1 = q.subtract(BigInteger.ONE);
        BigInteger n = p.multiply(q);
        BigInteger d = e.modInverse(p1.multiply(q1));
        RSAEngine secret = new RSAEngine();
        secret.init(true, new RSAPrivateCrtKeyParameters(n, e, d, p, q, d.mod(p1), d.mod(q1), q.modInverse(p)));
        RSAEngine open = new RSAEngine();
        open.init(true, new RSAKeyParameters(false, n, e));
        byte[] message = material("message", bits / 8);
        message[0] = 0;
        String size = "/" + bits + "bits";
        add("rsa-private" + size, () -> secret.processBlock(message, 0, message.length));
        add("rsa-public" + size, () -> open.processBlock(message, 0, message.length));
    }

    private static double nanoseconds(Work work, long calls) {
        long begin = threads.getCurrentThreadCpuTime();
        for (long i = 0; i < calls; i++) {
            last = work.run();
        }
        return threads.getCurrentThreadCpuTime() - begin;
    }

    /** Nanoseconds of one call, over at least so many. */
    private static double measured(Work work, double least) {
        long calls = 1;
        while (true) {
            double took = nanoseconds(work, calls);
            if (took >= least) {
                return took / calls;
            }
            double factor = took > 0 ? Math.min(10, 1.2 * least / took) : 10;
            calls = Math.max(calls + 1, (long) (calls * factor));
        }
    }

    /** Runs until the compiler has nothing to add: for a second, and until three tries bring nothing. */
    private static void warmUp(Work work) {
        double best = Double.MAX_VALUE;
        int stale = 0;
        long begin = System.nanoTime();
        for (double passed = 0; passed < 5e9 && (passed < 1e9 || stale < 3); passed = System.nanoTime() - begin) {
            double ns = measured(work, 5e7);
            stale = ns < 0.97 * best ? 0 : stale + 1;
            best = Math.min(best, ns);
        }
    }

    public static void main(String[] arguments) throws IOException {
        double least = 0.05e9;
        String wanted = "";
        for (String argument : arguments) {
            if (argument.startsWith("--benchmark_min_time=")) {
                least = 1e9 * Double.parseDouble(argument.substring(argument.indexOf('=') + 1));
            } else if (!argument.equals("--serve")) {
                wanted = argument;
            }
        }
        switch (wanted) {
            case "dstu": dstu(); break;
            case "gost28147": gost28147(); break;
            case "gost3410": gost3410(); break;
            case "kuznyechik": kuznyechik(); break;
            case "rsa": rsa(); break;
            case "streebog": streebog(); break;
            default: throw new IllegalArgumentException("no family " + wanted);
        }
        StringJoiner offers = new StringJoiner(", ", "{\"benchmarks\": {", "}}");
        benchmarks.forEach((name, benchmark) -> offers.add("\"" + name + "\": " + benchmark.result));
        System.out.println(offers);
        BufferedReader in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.US_ASCII));
        for (String name = in.readLine(); name != null; name = in.readLine()) {
            Benchmark benchmark = benchmarks.get(name);
            if (!benchmark.warm) {
                warmUp(benchmark.work);
                benchmark.warm = true;
            }
            System.out.println(measured(benchmark.work, name.startsWith("rsa-keygen") ? Math.max(least, 2e8) : least));
        }
    }
}
